#include "ui/panel/panel_values.h"

#include "core/clamp.h"
#include "core/fan_driving_status.h"
#include "core/preset_profiles.h"
#include "core/temperature_format.h"

#include <QStringList>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

namespace halvoren::panel {

namespace {

// A slider position that is never NaN: a bad reading parks the slider at the left.
double finiteUnit(double x) {
    return std::isfinite(x) ? clampUnit(x) : 0.0;
}

QString wholeRPM(double rpm) {
    return QStringLiteral("%1 RPM").arg(std::llround(std::isfinite(rpm) ? rpm : 0.0));
}

} // namespace

std::optional<QString> honestyLine(const HelperState& state) {
    switch (state.kind()) {
    case HelperState::Kind::connected:
        return std::nullopt;
    case HelperState::Kind::notRegistered:
        return QStringLiteral("Monitoring only. Open Halvoren to install the fan-control helper.");
    case HelperState::Kind::requiresApproval:
        return QStringLiteral("Monitoring only. Approve Halvoren in System Settings \u25B8 Login Items & "
                              "Extensions.");
    case HelperState::Kind::enabled:
        return QStringLiteral("Monitoring only. Connecting to the fan-control helper\u2026");
    case HelperState::Kind::unavailable:
        return QStringLiteral("Monitoring only. The fan-control helper is unavailable (%1).")
            .arg(QString::fromStdString(state.reason()));
    }
    return std::nullopt;
}

FanBounds fanBounds(const FanMap& fans) {
    if (fans.empty()) {
        return {};
    }
    FanBounds bounds{fans.begin()->second.minRPM, fans.begin()->second.maxRPM};
    for (const auto& [id, fan] : fans) {
        bounds.min = std::min(bounds.min, fan.minRPM);
        bounds.max = std::max(bounds.max, fan.maxRPM);
    }
    return bounds;
}

std::optional<FanPreset> activeTier(std::optional<FanPreset> activePreset,
                                    const std::optional<FanProfile>& activeProfile) {
    if (activePreset || !activeProfile) {
        return activePreset;
    }
    for (const PresetTab& tab : presetTabs) {
        if (baseProfile(tab.preset).id == activeProfile->id) {
            return tab.preset;
        }
    }
    return std::nullopt;
}

bool isManualControl(const std::map<int, double>& manualTargets,
                     const std::optional<FanProfile>& activeProfile) {
    return !manualTargets.empty() || (activeProfile && activeProfile->mode == ControlMode::constantRPM &&
                                      activeProfile->constantTargetRPM > 0);
}

double sliderRPM(double position, FanBounds bounds) {
    return std::round(bounds.min + finiteUnit(position) * (bounds.max - bounds.min));
}

double sliderPosition(const std::optional<FanProfile>& activeProfile, const FanMap& fans, FanBounds bounds) {
    const auto position = [&](double rpm) {
        return finiteUnit((std::min(rpm, bounds.max) - bounds.min) / std::max(bounds.max - bounds.min, 1.0));
    };
    if (activeProfile && activeProfile->mode == ControlMode::constantRPM) {
        return position(static_cast<double>(activeProfile->constantTargetRPM));
    }
    if (fans.empty()) {
        return 0.0;
    }
    double fastest = fans.begin()->second.currentRPM;
    for (const auto& [id, fan] : fans) {
        fastest = std::max(fastest, fan.currentRPM);
    }
    return position(fastest);
}

QString speedLabel(bool manualOrDragging, double rpm) {
    return manualOrDragging ? wholeRPM(rpm) : QStringLiteral("Drag to take over at a fixed speed");
}

QString heroAccessibilityValue(std::optional<double> celsius, bool fahrenheit, bool precise) {
    if (!celsius || !std::isfinite(*celsius)) {
        return QStringLiteral("no reading");
    }
    return QStringLiteral("%1 degrees %2")
        .arg(QString::fromStdString(TemperatureFormat::value(*celsius, fahrenheit, precise)),
             fahrenheit ? QStringLiteral("Fahrenheit") : QStringLiteral("Celsius"));
}

QString fanMetersAccessibilityValue(const FanMap& fans) {
    const std::vector<int> ids = sortedFanIDs(fans);
    QStringList parts;
    for (const auto& [id, fan] : fans) {
        parts << QStringLiteral("%1 %2").arg(QString::fromStdString(fanDisplayName(id, ids)),
                                             wholeRPM(fan.currentRPM));
    }
    return parts.join(QStringLiteral(", "));
}

QString customModeDetail(const ModeSpeed& speed) {
    return QStringLiteral("%1 %2%")
        .arg(QString::fromUtf8(speed.displayName()))
        .arg(std::llround(finiteUnit(speed.percentage()) * 100.0));
}

QString customModeAccessibilityValue(const ModeSpeed& speed) {
    return QStringLiteral("%1 percent, %2")
        .arg(std::llround(finiteUnit(speed.percentage()) * 100.0))
        .arg(QString::fromUtf8(speed.displayName()));
}

QString turboDetail(const FanMap& fans) {
    double fastest = 0.0;
    for (const auto& [id, fan] : fans) {
        if (fan.currentRPMValid && std::isfinite(fan.currentRPM)) {
            fastest = std::max(fastest, fan.currentRPM);
        }
    }
    if (fastest <= 0.0) {
        return QStringLiteral("Max cooling");
    }
    return QStringLiteral("%1 RPM").arg(static_cast<long long>(fastest));
}

QString cooldownCountdown(Clock::WallTime now, Clock::WallTime end) {
    const double left = std::chrono::duration<double>(end - now).count();
    const long long seconds = left > 0.0 ? static_cast<long long>(std::ceil(left)) : 0;
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace halvoren::panel
