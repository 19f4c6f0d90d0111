#include "engine/pinned_sensor_store.h"

#include "core/json_support.h"

#include <QByteArray>
#include <QSettings>
#include <nlohmann/json.hpp>

namespace halvoren {

PinnedSensorStore::PinnedSensorStore(QSettings& defaults, QString storageKey)
    : defaults_(defaults)
    , storageKey_(std::move(storageKey)) {}

std::set<std::string> PinnedSensorStore::load() const {
    const QByteArray data = defaults_.value(storageKey_).toByteArray();
    if (data.isEmpty()) {
        return {};
    }
    try {
        const auto array =
            json::parse(std::string_view(data.constData(), static_cast<std::size_t>(data.size())));
        if (!array.is_array()) {
            return {};
        }
        std::set<std::string> keys;
        for (const auto& element : array) {
            keys.insert(json::asString(element, "pinned sensor key"));
        }
        return keys;
    } catch (const DecodeError&) {
        return {};
    }
}

void PinnedSensorStore::save(const std::set<std::string>& keys) {
    std::string text;
    try {
        text = Json(keys).dump();
    } catch (const Json::exception&) {
        return; // text that is not UTF-8 cannot be stored; keep the old data
    }
    defaults_.setValue(storageKey_, QByteArray(text.data(), static_cast<qsizetype>(text.size())));
}

} // namespace halvoren
