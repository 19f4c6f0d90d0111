#include "ui/settings/settings_values.h"

#include "engine/settings_store.h"

#include <cmath>

namespace halvoren::settings {

QString spoolLabel(double rpmPerSecond) {
    if (rpmPerSecond >= SettingsStore::spoolRateInstant) {
        return QStringLiteral("Instant");
    }
    return QString::number(std::llround(rpmPerSecond)) + QStringLiteral(" RPM/s");
}

QString smoothingLabel(double alpha) {
    return QString::asprintf("%.2f", alpha);
}

QString capLabel(double fraction) {
    return QString::number(std::llround(fraction * 100.0)) + QLatin1Char('%');
}

CooldownOption cooldownOption(std::size_t index) {
    const int minutes = cooldownMinutes.at(index);
    return {minutes, QString::number(minutes) + QStringLiteral(" min")};
}

std::optional<std::size_t> cooldownIndex(double seconds) {
    for (std::size_t i = 0; i < cooldownMinutes.size(); ++i) {
        if (cooldownOption(i).seconds() == seconds) {
            return i;
        }
    }
    return std::nullopt;
}

Badge helperStatusBadge(const HelperState& state) {
    switch (state.kind()) {
    case HelperState::Kind::notRegistered:
        return {QStringLiteral("Not Installed"), "circle.dashed"};
    case HelperState::Kind::requiresApproval:
        return {QStringLiteral("Needs Approval"), "exclamationmark.triangle.fill"};
    case HelperState::Kind::enabled:
        return {QStringLiteral("Enabled"), "bolt.badge.checkmark"};
    case HelperState::Kind::connected:
        return {QStringLiteral("Connected"), "checkmark.seal.fill"};
    case HelperState::Kind::unavailable:
        break;
    }
    return {QString::fromStdString(state.reason()), "xmark.octagon.fill"};
}

QColor helperTint(const HelperState& state) {
    switch (state.kind()) {
    case HelperState::Kind::connected:
        return {0x34, 0xC7, 0x59};
    case HelperState::Kind::unavailable:
        return {0xFF, 0x45, 0x3A};
    case HelperState::Kind::notRegistered:
    case HelperState::Kind::requiresApproval:
    case HelperState::Kind::enabled:
        break;
    }
    return {0xFF, 0x9F, 0x0A};
}

AlertRule alertRuleFor(const AlertRules& rules, SensorCategory category) {
    if (const AlertRule* rule = findEntry(rules, category)) {
        return *rule;
    }
    return AlertRule{.enabled = false, .thresholdCelsius = 90.0, .autoBoost = false};
}

QString celsiusLabel(double celsius) {
    return QString::number(std::llround(celsius)) + QStringLiteral("°C");
}

QTime timeFromMinutesOfDay(int minutes) {
    constexpr int day = 24 * 60;
    const int wrapped = ((minutes % day) + day) % day;
    return {wrapped / 60, wrapped % 60};
}

int minutesOfDay(const QTime& time) {
    return time.isValid() ? time.hour() * 60 + time.minute() : 0;
}

QString menuBarReadoutLabel(MenuBarReadout readout) {
    switch (readout) {
    case MenuBarReadout::none:
        return QStringLiteral("Off");
    case MenuBarReadout::controlTemperature:
        return QStringLiteral("Temperature");
    case MenuBarReadout::hottestFan:
        return QStringLiteral("Fan speed");
    case MenuBarReadout::hottestSensor:
        return QStringLiteral("Hottest Sensor");
    case MenuBarReadout::both:
        break;
    }
    return QStringLiteral("Temperature & fan speed");
}

QString menuBarTempSourceLabel(MenuBarTempSource source) {
    if (const std::optional<ControlSource> aggregateSource = aggregate(source)) {
        return QString::fromUtf8(displayName(*aggregateSource));
    }
    return QStringLiteral("Control temperature");
}

QString glassAccessibleValue(double frost) {
    return QString::number(std::llround(frost * 100.0)) + QStringLiteral(" percent");
}

} // namespace halvoren::settings
