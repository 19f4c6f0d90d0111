#include "ui/power/power_values.h"

#include <algorithm>
#include <vector>

namespace halvoren::power {

namespace {

constexpr double minimumBaselineWatts = 5.0;

template <class Speed>
double totalWatts(const Fans& fans, Speed speed) {
    std::vector<FanSpeed> speeds;
    speeds.reserve(fans.size());
    for (const auto& [id, fan] : fans) {
        speeds.push_back({speed(fan), fan.maxRPM});
    }
    return PowerTelemetry::totalFanWatts(speeds);
}

} // namespace

double fanDrawWatts(const Fans& fans) {
    return totalWatts(fans, [](const FanStatus& fan) { return fan.currentRPM; });
}

Row fanDrawRow(const Fans& fans) {
    return {QStringLiteral("Fan Draw"), QString::asprintf("%.0f mW", fanDrawWatts(fans) * 1000.0),
            "fanblades.fill"};
}

double batteryImpactMinutes(const PowerTelemetry& telemetry, double systemWatts, const Fans& fans) {
    const double atMinimum = totalWatts(fans, [](const FanStatus& fan) { return fan.minRPM; });
    return PowerTelemetry::estimatedBatteryImpactMinutes(telemetry.batteryWattHours,
                                                         std::max(systemWatts, minimumBaselineWatts),
                                                         std::max(fanDrawWatts(fans) - atMinimum, 0.0));
}

Row batteryRow(const PowerTelemetry& telemetry, double systemWatts, const Fans& fans) {
    if (telemetry.source != PowerSource::battery) {
        return {QStringLiteral("On AC"), QStringLiteral("\u2014"), "bolt.horizontal.fill"};
    }
    return {QStringLiteral("Runtime Cost"),
            QStringLiteral("-") +
                QString::asprintf("%.0f min", batteryImpactMinutes(telemetry, systemWatts, fans)),
            "minus.plus.batteryblock.fill"};
}

QString systemWattsText(double systemWatts) {
    return systemWatts > 0.0 ? QString::asprintf("%.1f W", systemWatts) : QStringLiteral("\u2014");
}

QString busCaption(bool charging) {
    return charging ? QStringLiteral("Across the battery bus. Charge current while plugged in.")
                    : QStringLiteral("Across the battery bus. Macs without a battery don't report it.");
}

ExportLabel exportLabel(bool justExported) {
    return justExported ? ExportLabel{QStringLiteral("Exported"), "checkmark.circle.fill"}
                        : ExportLabel{QStringLiteral("Export CSV"), "square.and.arrow.up"};
}

} // namespace halvoren::power
