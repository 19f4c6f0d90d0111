#include "core/menu_bar_item_renderer.h"
#include "core/temperature_format.h"
#include "engine/halvoren_engine.h"

#include <cmath>
#include <limits>

namespace halvoren {

namespace {

// Below this share of its range a fan counts as still: idle fans hover a little above their
// minimum, and a turning icon would claim work that is not happening.
constexpr double stillFanFraction = 0.02;
constexpr int spinTierCount = 5;

std::string sourceWord(ControlSource source) {
    switch (source) {
    case ControlSource::hottest:
        return "Hottest";
    case ControlSource::cpuAverage:
        return "CPU";
    case ControlSource::cpuPerformance:
        return "CPU P";
    case ControlSource::cpuEfficiency:
        return "CPU E";
    case ControlSource::gpuAverage:
        return "GPU";
    }
    return "Hottest";
}

} // namespace

std::string HalvorenEngine::menuBarTemperatureText() const {
    if (!smcAvailable_.value() || !(displayedTemperature_.value() > 0.0)) {
        return "--";
    }
    return TemperatureFormat::display(displayedTemperature_.value(), useFahrenheit_.value(),
                                      preciseTemperatures_.value());
}

std::string HalvorenEngine::menuBarFanText() const {
    if (!smcAvailable_.value() || fans_->empty()) {
        return "--";
    }
    double fastest = -std::numeric_limits<double>::infinity();
    for (const auto& [id, fan] : fans_.value()) {
        fastest = std::max(fastest, fan.currentRPM);
    }
    // A reading no integer holds is no reading.
    if (!std::isfinite(fastest) || std::fabs(fastest) >= 1e15) {
        return "--";
    }
    return std::to_string(static_cast<long long>(fastest));
}

int HalvorenEngine::menuBarSpinTier(double fanFraction) {
    if (!std::isfinite(fanFraction) || !(fanFraction > stillFanFraction)) {
        return 0;
    }
    return std::clamp(static_cast<int>(std::ceil(fanFraction * spinTierCount)), 1, spinTierCount);
}

std::string HalvorenEngine::displayedTemperatureSourceLabel() const {
    return sourceWord(aggregate(menuBarTempSource_.value()).value_or(controlSource_.value()));
}

void HalvorenEngine::publishMenuBarLabelState() {
    const bool fahrenheit = useFahrenheit_.value();
    const bool precise = preciseTemperatures_.value();
    std::string hottestSensorText = "--";
    if (const std::optional<SMCSensor>& hottest = cachedMenuBarHottestSensor_.value();
        hottest && hottest->currentTemp > 0.0) {
        hottestSensorText = MenuBarItemRenderer::shortSensorName(hottest->name) + " " +
                            TemperatureFormat::display(hottest->currentTemp, fahrenheit, precise);
    }
    menuBarLabelModel_.set(MenuBarLabelState{
        .readout = menuBarReadout_.value(),
        .temperatureText = menuBarTemperatureText(),
        .fanText = menuBarFanText(),
        .hottestSensorText = std::move(hottestSensorText),
        .spinTier = menuBarSpinTier(menuBarFanFraction()),
        .animated = menuBarIconAnimated_.value(),
    });
}

} // namespace halvoren
