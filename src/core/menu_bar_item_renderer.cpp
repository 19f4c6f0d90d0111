#include "core/menu_bar_item_renderer.h"

#include "core/code_points.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace halvoren {

namespace {

constexpr std::size_t shortNameLength = 8;
constexpr std::int64_t rpmStep = 50;

// A whole decimal number with an optional sign and nothing else; none on overflow.
std::optional<std::int64_t> decimalInteger(std::string_view text) {
    if (text.starts_with('+')) {
        text.remove_prefix(1);
        if (text.starts_with('-')) {
            return std::nullopt;
        }
    }
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

} // namespace

std::optional<SMCSensor> MenuBarItemRenderer::hottestSensor(std::span<const SMCSensor> among,
                                                            const SensorSelection::ReadingHistory& history) {
    if (const std::optional<std::size_t> trusted = SensorSelection::trustedHottest(among, history)) {
        return among[*trusted];
    }
    const bool anyNamed = std::ranges::any_of(among, SensorSelection::isNamed);
    const SMCSensor* hottest = nullptr;
    for (const SMCSensor& sensor : among) {
        if (anyNamed && !SensorSelection::isNamed(sensor)) {
            continue;
        }
        if (hottest == nullptr || sensor.currentTemp > hottest->currentTemp) {
            hottest = &sensor;
        }
    }
    if (hottest == nullptr) {
        return std::nullopt;
    }
    return *hottest;
}

std::string MenuBarItemRenderer::shortSensorName(std::string_view name) {
    const auto start = name.find_first_not_of(' ');
    std::string_view word = name;
    if (start != std::string_view::npos) {
        word = name.substr(start);
        word = word.substr(0, word.find(' '));
    }
    return std::string(codePointPrefix(word, shortNameLength));
}

std::string MenuBarItemRenderer::quantizedRPMText(std::string_view text) {
    const std::optional<std::int64_t> value = decimalInteger(text);
    if (!value) {
        return std::string(text);
    }
    std::int64_t steps = *value / rpmStep;
    const std::int64_t rest = *value % rpmStep;
    // The ends of the range (ending 807 and -808) lie less than half a step past a multiple of 50, so
    // rounding never leaves it.
    if (2 * (rest < 0 ? -rest : rest) >= rpmStep) {
        steps += rest < 0 ? -1 : 1;
    }
    return std::to_string(steps * rpmStep);
}

std::string MenuBarItemRenderer::labelText(const MenuBarLabelState& state) {
    switch (state.readout) {
    case MenuBarReadout::none:
        return {};
    case MenuBarReadout::controlTemperature:
        return state.temperatureText;
    case MenuBarReadout::hottestFan:
        return quantizedRPMText(state.fanText);
    case MenuBarReadout::both:
        return state.temperatureText + " · " + quantizedRPMText(state.fanText);
    case MenuBarReadout::hottestSensor:
        return state.hottestSensorText;
    }
    return {};
}

std::string MenuBarItemRenderer::accessibilityText(const MenuBarLabelState& state) {
    switch (state.readout) {
    case MenuBarReadout::none:
        return "Halvoren fan control";
    case MenuBarReadout::controlTemperature:
        return "Control temperature, " + state.temperatureText;
    case MenuBarReadout::hottestFan:
        return "Fan speed, " + state.fanText + " RPM";
    case MenuBarReadout::both:
        return "Control temperature " + state.temperatureText + ", fan speed " + state.fanText + " RPM";
    case MenuBarReadout::hottestSensor:
        return "Hottest sensor, " + state.hottestSensorText;
    }
    return {};
}

} // namespace halvoren
