#pragma once

#include "core/display_settings.h"

#include <string>

namespace halvoren {

// Everything the menu-bar item shows, reduced to one small value: the item redraws only when
// it changes, so it can be rebuilt on every pass of the run loop for the cost of a compare.
struct MenuBarLabelState {
    MenuBarReadout readout = MenuBarReadout::controlTemperature;
    std::string temperatureText = "--";   // formatted temperature
    std::string fanText = "--";           // whole RPM as decimal digits
    std::string hottestSensorText = "--"; // short sensor name and temperature
    int spinTier = 0;                     // 0 (still) through 5
    bool animated = true;

    friend bool operator==(const MenuBarLabelState&, const MenuBarLabelState&) = default;
};

} // namespace halvoren
