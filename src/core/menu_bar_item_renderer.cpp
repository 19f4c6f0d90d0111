#include "core/menu_bar_item_renderer.h"

#include <algorithm>

namespace halvoren {

std::optional<SMCSensor> MenuBarItemRenderer::hottestSensor(std::span<const SMCSensor> among) {
    const bool anyNamed = std::ranges::any_of(among, [](const SMCSensor& s) { return s.name != s.key; });
    const SMCSensor* hottest = nullptr;
    for (const SMCSensor& sensor : among) {
        if (anyNamed && sensor.name == sensor.key) {
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

} // namespace halvoren
