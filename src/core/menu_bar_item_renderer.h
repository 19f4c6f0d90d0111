#pragma once

#include "core/menu_bar_label_state.h"
#include "core/sensor.h"
#include "core/sensor_selection.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

// The texts and choices behind the menu-bar item.
namespace halvoren::MenuBarItemRenderer {

// The sensor of `SensorSelection::trustedHottest`, so the item names the same component the
// hottest control source follows. Failing that, the hottest of the named sensors (a name that
// differs from the key), or of all sensors when none is named; the first of equal ones; none
// for an empty list.
std::optional<SMCSensor> hottestSensor(std::span<const SMCSensor> among,
                                       const SensorSelection::ReadingHistory& history = {});

// The first word of a sensor's name, at most 8 characters: "Thunderbolt Left Proximity"
// gives "Thunderb". A name of blanks only is kept whole (then cut to 8).
std::string shortSensorName(std::string_view name);

// A decimal integer rounded to a multiple of 50, halves away from zero, so the item does not
// flicker and change width with every reading; anything else ("--", "") unchanged.
std::string quantizedRPMText(std::string_view text);

// The text beside the icon for each readout; empty for `none`.
std::string labelText(const MenuBarLabelState& state);

// What a screen reader says for the item.
std::string accessibilityText(const MenuBarLabelState& state);

} // namespace halvoren::MenuBarItemRenderer
