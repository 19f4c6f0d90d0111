#pragma once

#include "core/json_support.h"
#include "core/json_value.h"

#include <array>
#include <span>
#include <string_view>
#include <utility>

namespace halvoren {

enum class PowerSource { ac, battery, unknown };

template <>
struct EnumTable<PowerSource> {
    static constexpr std::array<std::pair<PowerSource, std::string_view>, 3> entries{{
        {PowerSource::ac, "ac"},
        {PowerSource::battery, "battery"},
        {PowerSource::unknown, "unknown"},
    }};
};

// One fan's speed and maximum, the input of the fan power estimate.
struct FanSpeed {
    double rpm = 0.0;
    double maxRPM = 0.0;
};

// The machine's power state. The default value is the state before the first reading.
struct PowerTelemetry {
    PowerSource source = PowerSource::unknown;
    double systemWatts = 0.0;
    bool isCharging = false;
    bool isClamshell = false;
    double batteryWattHours = 0.0; // full capacity at the present voltage, not the charge left

    // Only `battery` counts; `unknown` is not on battery.
    bool onBattery() const { return source == PowerSource::battery; }

    // Cube-law estimate of one fan's draw, 2.5 W at full speed.
    static double fanWatts(double rpm, double maxRPM);
    static double totalFanWatts(std::span<const FanSpeed> fans);
    // Minutes of battery that an extra draw of deltaW costs.
    static double estimatedBatteryImpactMinutes(double batteryWh, double baselineW, double deltaW);

    friend bool operator==(const PowerTelemetry&, const PowerTelemetry&) = default;
};

void to_json(Json& j, PowerSource source);
void from_json(const Json& j, PowerSource& source);
void to_json(Json& j, const PowerTelemetry& power);
void from_json(const Json& j, PowerTelemetry& power);

} // namespace halvoren
