#pragma once

#include "core/fan_status.h"
#include "core/sensor.h"

#include <string>
#include <vector>

namespace halvoren::probe {

// What one probe found.
struct Report {
    std::string source; // where the readings came from, for the reader
    std::vector<SMCSensor> sensors;
    std::vector<FanStatus> fans;
};

// Aligned tables of sensors and fans.
std::string formatText(const Report& report);
// One JSON document: {"source": ..., "sensors": [...], "fans": [...]}.
std::string formatJson(const Report& report);

} // namespace halvoren::probe
