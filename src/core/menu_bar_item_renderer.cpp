#include "core/menu_bar_item_renderer.h"

#include <algorithm>

namespace halvoren {

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

} // namespace halvoren
