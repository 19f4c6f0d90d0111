#include "core/power_telemetry.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace halvoren {

double PowerTelemetry::fanWatts(double rpm, double maxRPM) {
    if (!(maxRPM > 0.0) || !(rpm > 0.0)) {
        return 0.0;
    }
    const double r = std::min(rpm / maxRPM, 1.0);
    return r * (r * (r * 2.5));
}

double PowerTelemetry::totalFanWatts(std::span<const FanSpeed> fans) {
    double total = 0.0;
    for (const auto& fan : fans) {
        total += fanWatts(fan.rpm, fan.maxRPM);
    }
    return total;
}

double PowerTelemetry::estimatedBatteryImpactMinutes(double batteryWh, double baselineW, double deltaW) {
    if (!(batteryWh > 0.0) || !(baselineW > 0.0) || deltaW < 0.0) {
        return 0.0;
    }
    return (batteryWh / baselineW - batteryWh / (baselineW + deltaW)) * 60.0;
}

void to_json(Json& j, PowerSource source) {
    j = json::enumToJson(source);
}
void from_json(const Json& j, PowerSource& source) {
    source = json::enumFromJson<PowerSource>(j, "source");
}

void to_json(Json& j, const PowerTelemetry& power) {
    j = Json{{"source", power.source},
             {"systemWatts", json::finite(power.systemWatts)},
             {"isCharging", power.isCharging},
             {"isClamshell", power.isClamshell},
             {"batteryWattHours", json::finite(power.batteryWattHours)}};
}

void from_json(const Json& j, PowerTelemetry& power) {
    power = PowerTelemetry{json::requireKey(j, "source").get<PowerSource>(),
                           json::requireDouble(j, "systemWatts"), json::requireBool(j, "isCharging"),
                           json::requireBool(j, "isClamshell"), json::requireDouble(j, "batteryWattHours")};
}

} // namespace halvoren
