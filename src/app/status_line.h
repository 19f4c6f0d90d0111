#pragma once

#include "platform/clock.h"

#include <nlohmann/json.hpp>

namespace halvoren {

class HalvorenEngine;

// One line of the headless status output: the time, the temperatures, the helper link, the
// policy in force, the last error and every fan.
nlohmann::ordered_json statusLine(const HalvorenEngine& engine, Clock::WallTime now);

} // namespace halvoren
