#pragma once

#include "core/device_sensor_map.h"

#include <filesystem>

namespace halvoren {

// The host's performance and efficiency core counts. macOS asks the kernel for its two
// performance levels; Linux reads sysfs under `sysfsRoot`: the CPUs' capacities, or else which
// of two core kinds each CPU is by its device-tree compatible string. 0 and 0 where the
// processor has no such split or nothing can be read.
DeviceSensorMap::CoreCounts hostCoreCounts(const std::filesystem::path& sysfsRoot = "/sys");

} // namespace halvoren
