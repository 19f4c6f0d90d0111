#pragma once

#include "core/sensor.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace halvoren::SensorSelection {

// At or below this, in °C, a reading comes from powered-down silicon or a stale register
// and counts as no reading at all.
inline constexpr double activeSiliconFloor = 12.0;

constexpr bool isLive(double reading) {
    return reading > activeSiliconFloor;
}

// A die or core reading that has kept exactly one value this long, in seconds, while another
// die reading moved, comes from a parked core rather than live silicon.
inline constexpr double parkedAfter = 30.0;

// How far, in °C, a reading may sit above the hottest live die or core reading and still be
// believed. A sensor on the die itself (fabric, neural engine) cannot be much hotter than the
// cores around it; a part off the die (battery, storage, memory, enclosure) heats on its own,
// so it gets more room.
inline constexpr double onDieMargin = 10.0;
inline constexpr double offDieMargin = 20.0;

// True when the classifier knew the key's prefix, which left the name different from the key.
bool isNamed(const SMCSensor& sensor);

// How long each reading of the last sweep has held exactly its value. The engine records every
// sweep; an empty history knows nothing, so no reading counts as held.
class ReadingHistory {
public:
    // The sweep `sensors`, taken at `now` (monotonic seconds). A sweep with other keys than the
    // last one starts the history afresh.
    void record(std::span<const SMCSensor> sensors, double now);

    // Seconds that `sensor`, at `index` of the last recorded sweep, has held its present value;
    // 0 when the history does not know it there with that value.
    double stillFor(std::size_t index, const SMCSensor& sensor) const;

private:
    struct Entry {
        std::string key;
        double value = 0.0;
        double since = 0.0;
    };
    std::vector<Entry> entries_;
    double now_ = 0.0;
};

// The hottest reading that reflects a real component, as an index into `sensors`; none when
// no named temperature sensor exists.
//
// Candidates are named temperature sensors, as ever. The machine's own die and core readings
// (CPU and GPU families) are the reference: with history, one that holds still while another
// moves is parked and left out. Any other reading more than its margin above the hottest live
// reference, or of a key family whose middle reading is, holds an offset or another quantity
// rather than a temperature, and is left out too. Without a live reference (no die sensors, all
// parked) nothing is compared; when no live candidate remains, the largest named reading
// answers, however low.
std::optional<std::size_t> trustedHottest(std::span<const SMCSensor> sensors,
                                          const ReadingHistory& history = {});

// The reading of `trustedHottest`.
std::optional<double> trustedMaxTemperature(std::span<const SMCSensor> sensors,
                                            const ReadingHistory& history = {});

} // namespace halvoren::SensorSelection
