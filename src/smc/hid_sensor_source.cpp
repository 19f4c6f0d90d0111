#include "smc/hid_sensor_source.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace halvoren {
namespace {

// The text of a whole decimal integer with an optional sign, as a 64-bit integer would
// hold it ("+7" -> "7", "03" -> "3"), or "" when `text` is no such integer.
std::string integerText(std::string_view text) {
    std::string_view digits = text;
    bool negative = false;
    if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) {
        negative = digits.front() == '-';
        digits.remove_prefix(1);
    }
    if (digits.empty() ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return {};
    }
    std::string signedDigits(negative ? 1 : 0, '-');
    signedDigits.append(digits);
    std::int64_t value = 0;
    const char* end = signedDigits.data() + signedDigits.size();
    const auto [stop, error] = std::from_chars(signedDigits.data(), end, value);
    if (error != std::errc{} || stop != end) {
        return {};
    }
    return std::to_string(value);
}

} // namespace

std::string friendlyHIDName(std::string_view raw) {
    constexpr std::string_view dieSensor = "PMU tdie";
    if (raw.starts_with(dieSensor)) {
        if (const std::string number = integerText(raw.substr(dieSensor.size())); !number.empty()) {
            return "Die Sensor " + number;
        }
    }
    if (raw == "NAND CH0 temp") {
        return "SSD (NAND)";
    }
    if (raw == "gas gauge battery") {
        return "Battery (Gas Gauge)";
    }
    return std::string(raw);
}

std::vector<HIDSensorReading> aggregateHID(const std::vector<std::pair<std::string, double>>& readings) {
    std::vector<std::pair<std::string, std::vector<double>>> groups;
    for (const auto& reading : readings) {
        // Named, not a structured binding: clang before 16 cannot capture bindings in lambdas.
        const std::string& name = reading.first;
        const double value = reading.second;
        if (name.empty() || name == "?" || std::isnan(value) || value < -40.0 || value > 130.0) {
            continue;
        }
        auto group =
            std::find_if(groups.begin(), groups.end(), [&](const auto& g) { return g.first == name; });
        if (group == groups.end()) {
            group = groups.insert(groups.end(), {name, {}});
        }
        group->second.push_back(value);
    }
    std::vector<HIDSensorReading> result;
    result.reserve(groups.size());
    for (auto& [name, values] : groups) {
        std::sort(values.begin(), values.end());
        const std::size_t middle = values.size() / 2;
        const double median =
            values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2.0;
        result.push_back({name, median});
    }
    return result;
}

SMCSensor sensorFromHID(const HIDSensorReading& reading) {
    SMCSensor sensor;
    sensor.id = "hid:" + reading.name;
    sensor.key = sensor.id;
    sensor.name = friendlyHIDName(reading.name);
    sensor.category = SensorCategory::enclosure;
    sensor.currentTemp = reading.celsius;
    sensor.sensorClass = SensorClass::temperature;
    sensor.unit = std::string(unit(SensorClass::temperature));
    return sensor;
}

HIDSensorSource::HIDSensorSource()
    : backend_(platformHIDBackend()) {}

HIDSensorSource::HIDSensorSource(Backend backend)
    : backend_(std::move(backend)) {}

std::vector<HIDSensorReading> HIDSensorSource::readAll() const {
    if (!backend_) {
        return {};
    }
    return aggregateHID(backend_());
}

// Linux defines the platform backend under linux/. Elsewhere there is none yet; the macOS
// event-system client takes this definition's place from a macos/ file.
// Linux reads hwmon (linux/hwmon_temperatures.cpp), macOS the HID event system
// (macos/hid_event_system.cpp); elsewhere there is nothing to read.
#if !defined(__linux__) && !defined(__APPLE__)
HIDSensorSource::Backend platformHIDBackend() {
    return {};
}
#endif

} // namespace halvoren
