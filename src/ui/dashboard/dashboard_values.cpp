#include "ui/dashboard/dashboard_values.h"

#include "core/temperature_format.h"
#include "engine/halvoren_engine.h"

#include <algorithm>
#include <cmath>

namespace halvoren::dashboard {

const FanProfile* builtInProfile(FanMode mode) {
    switch (mode) {
    case FanMode::automatic:
        return &FanProfile::appleAuto();
    case FanMode::silent:
        return &FanProfile::silentStealth();
    case FanMode::balanced:
        return &FanProfile::halvorenStandard();
    case FanMode::max:
        return &FanProfile::maxThermalBlast();
    case FanMode::manual:
        break;
    }
    return nullptr;
}

FanMode currentMode(const std::map<int, double>& manualTargets,
                    const std::optional<FanProfile>& activeProfile, bool turboEngaged) {
    if (!manualTargets.empty()) {
        return FanMode::manual;
    }
    if (activeProfile) {
        for (const auto& [mode, label] : fanModes) {
            const FanProfile* builtIn = builtInProfile(mode);
            if (builtIn && builtIn->id == activeProfile->id) {
                return mode;
            }
        }
        if (!turboEngaged && activeProfile->mode == ControlMode::constantRPM) {
            return FanMode::manual;
        }
    }
    return FanMode::max;
}

void selectMode(HalvorenEngine& engine, FanMode mode) {
    if (const FanProfile* profile = builtInProfile(mode)) {
        engine.selectProfile(*profile);
    } else {
        engine.enterManualControl();
    }
}

QString forecastChipText(const ForecastChipState& chip, double thresholdCelsius, bool fahrenheit,
                         bool precise) {
    if (!chip.etaWholeMinutes) {
        return QString::fromStdString(chip.labelWord);
    }
    return QStringLiteral("%1 min to %2")
        .arg(static_cast<long long>(*chip.etaWholeMinutes))
        .arg(QString::fromStdString(TemperatureFormat::display(thresholdCelsius, fahrenheit, precise)));
}

QString forecastAccessibilityValue(const ForecastChipState& chip, double thresholdCelsius, bool fahrenheit,
                                   bool precise) {
    if (!chip.etaWholeMinutes) {
        return QString::fromStdString(chip.labelWord);
    }
    return QStringLiteral("Rising, about %1 minutes to %2 degrees")
        .arg(*chip.etaWholeMinutes)
        .arg(QString::fromStdString(TemperatureFormat::value(thresholdCelsius, fahrenheit, precise)));
}

std::vector<DeviceSensorReading> dashboardSensorReadings(const std::vector<DeviceSensorReading>& readings,
                                                         const std::set<std::string>& pinned) {
    std::vector<DeviceSensorReading> shown;
    std::vector<DeviceSensorReading> rest;
    for (const DeviceSensorReading& reading : readings) {
        (pinned.contains(reading.id) ? shown : rest).push_back(reading);
    }
    std::ranges::stable_sort(rest, [](const DeviceSensorReading& a, const DeviceSensorReading& b) {
        const double left = a.value.value_or(-INFINITY);
        const double right = b.value.value_or(-INFINITY);
        return left > right;
    });
    shown.insert(shown.end(), rest.begin(), rest.end());
    if (shown.size() > dashboardSensorLimit) {
        shown.resize(dashboardSensorLimit);
    }
    return shown;
}

std::span<const HeatSource> displayedHeatSources(HeatSourceMode mode, const std::vector<HeatSource>& live,
                                                 const std::vector<HeatSource>& today) {
    const std::vector<HeatSource>& list = mode == HeatSourceMode::live ? live : today;
    return std::span(list).first(std::min(list.size(), heatSourceLimit));
}

EmptyStateText heatSourcesEmptyState(HeatSourceMode mode) {
    if (mode == HeatSourceMode::live) {
        return {QStringLiteral("Nothing hot right now"), QStringLiteral("CPU usage is idle.")};
    }
    return {QStringLiteral("No activity recorded today"),
            QStringLiteral("No app has used the CPU today yet.")};
}

QString heatShareText(double share) {
    const double percent = std::isfinite(share) ? std::clamp(share, 0.0, 1.0) * 100.0 : 0.0;
    return QStringLiteral("%1%").arg(std::lround(percent));
}

QString controlSourceLabel(ControlSource source) {
    switch (source) {
    case ControlSource::hottest:
        return QStringLiteral("Hottest Sensor");
    case ControlSource::cpuAverage:
        return QStringLiteral("CPU Core Average");
    case ControlSource::cpuPerformance:
        return QStringLiteral("CPU Performance");
    case ControlSource::cpuEfficiency:
        return QStringLiteral("CPU Efficiency");
    case ControlSource::gpuAverage:
        break;
    }
    return QStringLiteral("GPU Average");
}

FanWarningText fanWarningText(FanHealthMonitor::Warning warning) {
    if (warning == FanHealthMonitor::Warning::stalled) {
        return {QStringLiteral("Warning: fan may have failed"),
                QStringLiteral("This fan is commanded to spin but isn't. It may have failed.")};
    }
    return {QStringLiteral("Warning: fan may be obstructed"),
            QStringLiteral(
                "This fan can't reach its commanded speed. Dust or an obstruction may be limiting it.")};
}

std::optional<QString> dustCycleRunningText(const DustCycleUIState& state) {
    if (state.kind != DustCycleUIState::Kind::running) {
        return std::nullopt;
    }
    return QStringLiteral("Dust cycle \u00b7 %1s").arg(state.secondsLeft);
}

} // namespace halvoren::dashboard
