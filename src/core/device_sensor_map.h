#pragma once

#include "core/control_source.h"
#include "core/sensor.h"
#include "core/sensor_selection.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace halvoren {

// One row of the device's short, stable sensor list.
struct DeviceSensorReading {
    std::string id;              // a key such as "TB0T", or a synthetic id such as "perf.0"
    std::string name;            // display name
    std::string symbol;          // symbol image name
    std::optional<double> value; // °C; absent while the sensor has no live reading

    friend bool operator==(const DeviceSensorReading&, const DeviceSensorReading&) = default;
};

// Turns the flat sensor list into device readings and control temperatures. There is no
// per-model table: cores and clusters come from key families found at run time plus the
// machine's core counts, so an unknown chip still gets a sensible list.
namespace DeviceSensorMap {

struct CoreCounts {
    int performance = 0;
    int efficiency = 0;

    friend bool operator==(const CoreCounts&, const CoreCounts&) = default;
};

// Battery, proximity, per-core, per-cluster and average rows in a fixed order; rows whose
// sensors are missing are left out, rows whose sensors read nothing live keep no value.
std::vector<DeviceSensorReading> fixedList(std::span<const SMCSensor> sensors, CoreCounts counts);

// The one number the fan curve follows for `source`, or none when nothing live backs it.
// `history` lets the hottest source tell parked die readings from live ones.
std::optional<double> aggregate(ControlSource source, std::span<const SMCSensor> sensors, CoreCounts counts,
                                const SensorSelection::ReadingHistory& history = {});

} // namespace DeviceSensorMap

} // namespace halvoren
