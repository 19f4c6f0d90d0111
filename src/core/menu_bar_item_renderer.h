#pragma once

#include "core/sensor.h"

#include <optional>
#include <span>

// The texts and choices behind the menu-bar item.
namespace halvoren::MenuBarItemRenderer {

// The hottest of the named sensors (a name that differs from the key), or of all sensors
// when none is named; the first of equal ones; none for an empty list.
std::optional<SMCSensor> hottestSensor(std::span<const SMCSensor> among);

} // namespace halvoren::MenuBarItemRenderer
