#pragma once

#include "core/alert_rules.h"
#include "core/display_settings.h"
#include "engine/helper_state.h"

#include <QColor>
#include <QString>
#include <QTime>
#include <array>
#include <optional>
#include <string>

namespace halvoren::settings {

// "Instant" from 9000 RPM/s up (the ramp is skipped), otherwise the whole rate.
QString spoolLabel(double rpmPerSecond);
QString smoothingLabel(double alpha);
// A cap fraction as a whole percentage: 0.55 -> "55%".
QString capLabel(double fraction);

struct CooldownOption {
    int minutes;
    QString label; // "5 min"
    double seconds() const { return minutes * 60.0; }
};
inline constexpr std::array<int, 6> cooldownMinutes{1, 2, 5, 10, 15, 30};
CooldownOption cooldownOption(std::size_t index);
// The option standing for `seconds`, or none for a duration that is no option.
std::optional<std::size_t> cooldownIndex(double seconds);

struct Badge {
    QString text;
    std::string symbol;
};
Badge helperStatusBadge(const HelperState& state);
// Green when connected, amber while it needs the user or is connecting, red when unavailable.
QColor helperTint(const HelperState& state);

// An absent rule reads as disabled at 90 °C without boost.
AlertRule alertRuleFor(const AlertRules& rules, SensorCategory category);

// A whole number and the unit: "90°C".
QString celsiusLabel(double celsius);

// Minutes of the day as a time of day, wrapped into one day; and back.
QTime timeFromMinutesOfDay(int minutes);
int minutesOfDay(const QTime& time);

QString menuBarReadoutLabel(MenuBarReadout readout);
QString menuBarTempSourceLabel(MenuBarTempSource source);
// What a screen reader says for the glass slider: "40 percent".
QString glassAccessibleValue(double frost);

} // namespace halvoren::settings
