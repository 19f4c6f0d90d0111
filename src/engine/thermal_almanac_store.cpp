#include "engine/thermal_almanac_store.h"

#include "platform/atomic_file.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace halvoren::ThermalAlmanacStore {

ThermalAlmanac load(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray bytes = file.readAll();
    return decodeThermalAlmanac(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())))
        .value_or(ThermalAlmanac{});
}

void save(const QString& path, const ThermalAlmanac& almanac) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    const std::optional<std::string> text = encodeThermalAlmanac(almanac);
    if (!text) {
        return;
    }
    writeFileAtomically(path, *text); // a failure is silent
}

} // namespace halvoren::ThermalAlmanacStore
