#pragma once

#include "core/closed_range.h"
#include "core/sensor.h"
#include "core/smc_data_type.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace halvoren::SensorClassifier {

using ClosedRange = halvoren::ClosedRange;

// The one range that decides whether a value can be a temperature, in °C.
inline constexpr ClosedRange plausibleTemperatureRange{-40.0, 130.0};

struct PrefixName {
    std::string_view prefix;
    std::string_view name;
};

// Display words for temperature key prefixes. "Tne" is the only three-character prefix
// and is looked up before the two-character ones.
inline constexpr std::array<PrefixName, 16> temperaturePrefixNames{{
    {"Tp", "P-Core"},
    {"Te", "E-Core"},
    {"Tg", "GPU"},
    {"TG", "GPU"},
    {"Tm", "Memory"},
    {"TM", "Memory"},
    {"TB", "Battery"},
    {"Tb", "Battery"},
    {"TA", "Ambient"},
    {"Ta", "Ambient"},
    {"Ts", "Enclosure"},
    {"TS", "Enclosure"},
    {"Tf", "SoC Fabric"},
    {"Tne", "Neural Engine"},
    {"TC", "CPU"},
    {"TH", "Storage"},
}};

struct Classification {
    SensorClass sensorClass = SensorClass::other;
    std::string name;

    friend bool operator==(const Classification&, const Classification&) = default;
};

// The class and display name of a controller key, from its first letter, its data type
// and (for temperatures) whether the sample is plausible.
Classification classify(std::string_view key, SMCDataType type, std::optional<double> sample);

// "Tp09" gives "P-Core 9", "Ts00" gives "Enclosure"; a key of no known prefix is its own name.
std::string humanName(std::string_view key);

// `text` without its leading "0" characters, possibly empty. The result views `text`.
std::string_view trimLeadingZeros(std::string_view text);

// The physical group of a kept sensor, by the first two characters of a temperature key;
// every sensor that isn't a temperature is `enclosure`.
SensorCategory category(std::string_view key, SensorClass sensorClass);

} // namespace halvoren::SensorClassifier
