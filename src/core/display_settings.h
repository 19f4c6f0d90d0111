#pragma once

// The user's choices of what the menu bar shows and how the windows look. Each is
// stored by its raw text, so the texts must not change.

#include "core/control_source.h"
#include "core/json_support.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace halvoren {

// What the menu-bar item shows beside its icon.
enum class MenuBarReadout { none, controlTemperature, hottestFan, hottestSensor, both };

template <>
struct EnumTable<MenuBarReadout> {
    static constexpr std::array<std::pair<MenuBarReadout, std::string_view>, 5> entries{{
        {MenuBarReadout::none, "none"},
        {MenuBarReadout::controlTemperature, "controlTemperature"},
        {MenuBarReadout::hottestFan, "hottestFan"},
        {MenuBarReadout::hottestSensor, "hottestSensor"},
        {MenuBarReadout::both, "both"},
    }};
};

// The temperature the menu-bar item shows.
enum class MenuBarTempSource { control, hottest, cpuAverage, cpuPerformance, cpuEfficiency, gpuAverage };

template <>
struct EnumTable<MenuBarTempSource> {
    static constexpr std::array<std::pair<MenuBarTempSource, std::string_view>, 6> entries{{
        {MenuBarTempSource::control, "control"},
        {MenuBarTempSource::hottest, "hottest"},
        {MenuBarTempSource::cpuAverage, "cpuAverage"},
        {MenuBarTempSource::cpuPerformance, "cpuPerformance"},
        {MenuBarTempSource::cpuEfficiency, "cpuEfficiency"},
        {MenuBarTempSource::gpuAverage, "gpuAverage"},
    }};
};

// The control source whose reading the item shows; none for `control`, which follows the
// control source itself.
constexpr std::optional<ControlSource> aggregate(MenuBarTempSource source) {
    switch (source) {
    case MenuBarTempSource::control:
        return std::nullopt;
    case MenuBarTempSource::hottest:
        return ControlSource::hottest;
    case MenuBarTempSource::cpuAverage:
        return ControlSource::cpuAverage;
    case MenuBarTempSource::cpuPerformance:
        return ControlSource::cpuPerformance;
    case MenuBarTempSource::cpuEfficiency:
        return ControlSource::cpuEfficiency;
    case MenuBarTempSource::gpuAverage:
        break;
    }
    return ControlSource::gpuAverage;
}

// The accent colour of the interface; `system` follows the desktop's own.
enum class AccentChoice { system, sky, teal, indigo, violet, graphite };

template <>
struct EnumTable<AccentChoice> {
    static constexpr std::array<std::pair<AccentChoice, std::string_view>, 6> entries{{
        {AccentChoice::system, "system"},
        {AccentChoice::sky, "sky"},
        {AccentChoice::teal, "teal"},
        {AccentChoice::indigo, "indigo"},
        {AccentChoice::violet, "violet"},
        {AccentChoice::graphite, "graphite"},
    }};
};

// The picture behind the frosted glass of the windows.
enum class BackdropScene { aurora, space, winter, nebula, abyss, graphite };

template <>
struct EnumTable<BackdropScene> {
    static constexpr std::array<std::pair<BackdropScene, std::string_view>, 6> entries{{
        {BackdropScene::aurora, "aurora"},
        {BackdropScene::space, "space"},
        {BackdropScene::winter, "winter"},
        {BackdropScene::nebula, "nebula"},
        {BackdropScene::abyss, "abyss"},
        {BackdropScene::graphite, "graphite"},
    }};
};

} // namespace halvoren
