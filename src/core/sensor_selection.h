#pragma once

#include "core/sensor.h"

#include <optional>
#include <span>

namespace halvoren::SensorSelection {

// At or below this, in °C, a reading comes from powered-down silicon or a stale register
// and counts as no reading at all.
inline constexpr double activeSiliconFloor = 12.0;

constexpr bool isLive(double reading) {
    return reading > activeSiliconFloor;
}

// True when the classifier knew the key's prefix, which left the name different from the key.
bool isNamed(const SMCSensor& sensor);

// The largest reading among named temperature sensors; sensors of an unknown prefix never
// reach the control loop, whatever they read. No floor applies: a low reading just loses.
std::optional<double> trustedMaxTemperature(std::span<const SMCSensor> sensors);

} // namespace halvoren::SensorSelection
