#pragma once

#include "core/sensor.h"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace halvoren {

// A temperature from outside the controller, under the name its source gives it.
struct HIDSensorReading {
    std::string name;
    double celsius = 0.0;

    friend bool operator==(const HIDSensorReading&, const HIDSensorReading&) = default;
};

// The display name of a raw sensor name: "PMU tdie<integer>" becomes "Die Sensor <integer>",
// two storage and battery names get readable forms, anything else is kept.
std::string friendlyHIDName(std::string_view raw);

// One reading per name, in the order names first appear: nameless ("" or "?") readings and
// values outside -40...130 °C (or NaN) are dropped, and several readings under one name
// give their median, which shields the result from one odd service.
std::vector<HIDSensorReading> aggregateHID(const std::vector<std::pair<std::string, double>>& readings);

// The reading as a sensor of its own: id and key "hid:<raw name>", enclosure, °C.
SMCSensor sensorFromHID(const HIDSensorReading& reading);

// Temperatures that the controller does not report. The platform part only lists raw
// (name, °C) pairs; the source aggregates them.
class HIDSensorSource {
public:
    using Backend = std::function<std::vector<std::pair<std::string, double>>()>;

    // The platform's own source; one that has none yields nothing.
    HIDSensorSource();
    // An empty backend yields nothing.
    explicit HIDSensorSource(Backend backend);

    std::vector<HIDSensorReading> readAll() const;

private:
    Backend backend_;
};

// The platform's raw readings, or an empty backend where there are none.
HIDSensorSource::Backend platformHIDBackend();

#if defined(__linux__)
// Every hwmon temperature whose device is not "applesmc" (the controller is read through the
// exchange), named "<device name> <label>", or the device name alone without a label; a sensor
// that cannot be read is left out. The devices are listed at the first reading and every
// `hwmonRescanInterval` readings after it.
inline constexpr int hwmonRescanInterval = 60;
HIDSensorSource::Backend hwmonTemperatureBackend(std::filesystem::path root);
#endif

} // namespace halvoren
