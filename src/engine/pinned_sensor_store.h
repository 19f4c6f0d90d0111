#pragma once

#include <QString>
#include <set>
#include <string>

class QSettings;

namespace halvoren {

// The user's pinned sensors, kept in the settings store as a blob holding a JSON
// array of sensor keys. Main thread only.
class PinnedSensorStore {
public:
    static constexpr const char* defaultStorageKey = "com.halvoren.pinnedSensorKeys";

    explicit PinnedSensorStore(QSettings& defaults,
                               QString storageKey = QString::fromLatin1(defaultStorageKey));

    // Absent or undecodable data reads as the empty set.
    std::set<std::string> load() const;
    // Stores the whole set at once; a set that cannot be encoded stores nothing.
    void save(const std::set<std::string>& keys);

    const QString& storageKey() const { return storageKey_; }

private:
    QSettings& defaults_;
    QString storageKey_;
};

} // namespace halvoren
