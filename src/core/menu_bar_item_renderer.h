#pragma once

#include "core/sensor.h"
#include "core/sensor_selection.h"

#include <optional>
#include <span>

// The texts and choices behind the menu-bar item.
namespace halvoren::MenuBarItemRenderer {

// The sensor of `SensorSelection::trustedHottest`, so the item names the same component the
// hottest control source follows. Failing that, the hottest of the named sensors (a name that
// differs from the key), or of all sensors when none is named; the first of equal ones; none
// for an empty list.
std::optional<SMCSensor> hottestSensor(std::span<const SMCSensor> among,
                                       const SensorSelection::ReadingHistory& history = {});

} // namespace halvoren::MenuBarItemRenderer
