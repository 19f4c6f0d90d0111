#pragma once

#include "core/fan_status.h"
#include "core/power_telemetry.h"

#include <QString>
#include <map>
#include <string>

namespace halvoren::power {

using Fans = std::map<int, FanStatus>;

// One row of the power card: what it is, what it reads, and its symbol.
struct Row {
    QString title;
    QString value;
    std::string symbol;
};

// The fans' estimated draw now, in watts.
double fanDrawWatts(const Fans& fans);
Row fanDrawRow(const Fans& fans);

// Minutes of battery the fans cost over running at their minimum speeds, against a system
// draw of at least 5 W.
double batteryImpactMinutes(const PowerTelemetry& telemetry, double systemWatts, const Fans& fans);
// "Runtime Cost" on battery, "On AC" otherwise.
Row batteryRow(const PowerTelemetry& telemetry, double systemWatts, const Fans& fans);

// "12.3 W", or "—" with no draw to show.
QString systemWattsText(double systemWatts);
QString busCaption(bool charging);

struct ExportLabel {
    QString title;
    std::string symbol;
};
ExportLabel exportLabel(bool justExported);

} // namespace halvoren::power
