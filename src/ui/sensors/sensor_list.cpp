#include "ui/sensors/sensor_list.h"

#include "core/temperature_format.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace halvoren::sensor_list {

namespace {

constexpr std::array<std::pair<SensorClass, const char*>, 5> classGroups{{
    {SensorClass::temperature, "Temperature"},
    {SensorClass::power, "Power"},
    {SensorClass::voltage, "Voltage"},
    {SensorClass::current, "Current"},
    {SensorClass::fan, "Fans"},
}};

bool contains(const std::string& text, const QString& needle) {
    return QString::fromStdString(text).toLower().contains(needle);
}

// std::string compares bytes, which for UTF-8 is code point order.
void sortByName(std::vector<SMCSensor>& sensors) {
    std::ranges::stable_sort(sensors, {}, &SMCSensor::name);
}

} // namespace

bool isSearching(const QString& query) {
    return !query.trimmed().isEmpty();
}

std::vector<SMCSensor> unpinned(std::span<const SMCSensor> sensors, const std::set<std::string>& pinnedKeys) {
    std::vector<SMCSensor> kept;
    std::ranges::copy_if(sensors, std::back_inserter(kept),
                         [&](const SMCSensor& s) { return !pinnedKeys.contains(s.key); });
    return kept;
}

std::vector<Group> rawGroups(std::span<const SMCSensor> all, const QString& query,
                             const std::set<std::string>& pinnedKeys) {
    const QString needle = query.trimmed().toLower();
    std::vector<SMCSensor> filtered;
    std::ranges::copy_if(all, std::back_inserter(filtered), [&](const SMCSensor& s) {
        return needle.isEmpty() || contains(s.name, needle) || contains(s.key, needle);
    });

    std::vector<Group> groups;
    std::vector<SMCSensor> pinned;
    std::ranges::copy_if(filtered, std::back_inserter(pinned),
                         [&](const SMCSensor& s) { return pinnedKeys.contains(s.key); });
    if (!pinned.empty()) {
        sortByName(pinned);
        groups.push_back({QStringLiteral("Pinned"), std::move(pinned)});
    }
    const std::vector<SMCSensor> rest = unpinned(filtered, pinnedKeys);
    for (const auto& entry : classGroups) {
        Group group{QString::fromLatin1(entry.second), {}};
        std::ranges::copy_if(rest, std::back_inserter(group.sensors),
                             [&](const SMCSensor& s) { return s.sensorClass == entry.first; });
        if (!group.sensors.empty()) {
            sortByName(group.sensors);
            groups.push_back(std::move(group));
        }
    }
    return groups;
}

QString valueText(const SMCSensor& sensor, bool fahrenheit, bool precise) {
    const double value = sensor.currentTemp;
    if (!std::isfinite(value)) {
        return QStringLiteral("\u2014");
    }
    switch (sensor.sensorClass) {
    case SensorClass::temperature:
        return QString::fromStdString(TemperatureFormat::display(value, fahrenheit, precise));
    case SensorClass::power:
        return QString::asprintf("%.2f W", value);
    case SensorClass::voltage:
        return QString::asprintf("%.2f V", value);
    case SensorClass::current:
        return QString::asprintf("%.2f A", value);
    case SensorClass::fan:
        return QString::number(std::llround(value)) + QStringLiteral(" RPM");
    case SensorClass::other:
        break;
    }
    return QString::asprintf("%.2f", value);
}

QString accessibleLabel(const SMCSensor& sensor, bool pinned, bool fahrenheit, bool precise) {
    return QString::fromStdString(sensor.name) + QStringLiteral(", ") +
           valueText(sensor, fahrenheit, precise) + (pinned ? QStringLiteral(", pinned") : QString());
}

QString heading(bool full) {
    return full ? QStringLiteral("All Sensors") : QStringLiteral("Essentials");
}

QString essentialsCountText(std::size_t readings, bool fahrenheit) {
    return QString::number(readings) + QStringLiteral(" key readings \u00B7 ") +
           (fahrenheit ? QStringLiteral("\u00B0F") : QStringLiteral("\u00B0C"));
}

QString fullCountText(std::span<const Group> groups, std::size_t allSensors) {
    std::size_t shown = 0;
    for (const Group& group : groups) {
        shown += group.sensors.size();
    }
    return QString::number(shown) + QStringLiteral(" of ") + QString::number(allSensors);
}

QString undiscoveredDetail(bool smcAvailable) {
    return smcAvailable ? QStringLiteral("Discovery hasn't finished yet.")
                        : QStringLiteral("Couldn't open the SMC.");
}

} // namespace halvoren::sensor_list
