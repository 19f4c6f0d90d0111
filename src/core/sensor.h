#pragma once

#include "core/json_support.h"
#include "core/json_value.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace halvoren {

// The physical group of a sensor.
enum class SensorCategory { cpu, gpu, neuralEngine, memory, battery, enclosure };

template <>
struct EnumTable<SensorCategory> {
    static constexpr std::array<std::pair<SensorCategory, std::string_view>, 6> entries{{
        {SensorCategory::cpu, "cpu"},
        {SensorCategory::gpu, "gpu"},
        {SensorCategory::neuralEngine, "neuralEngine"},
        {SensorCategory::memory, "memory"},
        {SensorCategory::battery, "battery"},
        {SensorCategory::enclosure, "enclosure"},
    }};
};

std::string_view displayName(SensorCategory category);

// The physical quantity a sensor measures.
enum class SensorClass { temperature, power, voltage, current, fan, other };

template <>
struct EnumTable<SensorClass> {
    static constexpr std::array<std::pair<SensorClass, std::string_view>, 6> entries{{
        {SensorClass::temperature, "temperature"},
        {SensorClass::power, "power"},
        {SensorClass::voltage, "voltage"},
        {SensorClass::current, "current"},
        {SensorClass::fan, "fan"},
        {SensorClass::other, "other"},
    }};
};

std::string_view unit(SensorClass sensorClass);

// One sensor as the rest of the program sees it.
struct SMCSensor {
    std::string id;   // stable identity
    std::string key;  // four-character controller key, or the HID name
    std::string name; // human name; equal to `key` when none is known
    SensorCategory category = SensorCategory::enclosure;
    double currentTemp = 0.0; // the latest reading in `unit`, whatever the class
    SensorClass sensorClass = SensorClass::other;
    std::string unit;

    friend bool operator==(const SMCSensor&, const SMCSensor&) = default;
};

void to_json(Json& j, SensorCategory category);
void from_json(const Json& j, SensorCategory& category);
void to_json(Json& j, SensorClass sensorClass);
void from_json(const Json& j, SensorClass& sensorClass);
void to_json(Json& j, const SMCSensor& sensor);
void from_json(const Json& j, SMCSensor& sensor);

} // namespace halvoren

template <>
struct std::hash<halvoren::SMCSensor> {
    std::size_t operator()(const halvoren::SMCSensor& sensor) const noexcept;
};
