#include "core/sensor.h"

#include <functional>
#include <nlohmann/json.hpp>

namespace halvoren {

std::string_view displayName(SensorCategory category) {
    switch (category) {
    case SensorCategory::cpu:
        return "CPU";
    case SensorCategory::gpu:
        return "GPU";
    case SensorCategory::neuralEngine:
        return "Neural Engine";
    case SensorCategory::memory:
        return "Memory";
    case SensorCategory::battery:
        return "Battery";
    case SensorCategory::enclosure:
        return "Enclosure";
    }
    return {};
}

std::string_view unit(SensorClass sensorClass) {
    switch (sensorClass) {
    case SensorClass::temperature:
        return "°C";
    case SensorClass::power:
        return "W";
    case SensorClass::voltage:
        return "V";
    case SensorClass::current:
        return "A";
    case SensorClass::fan:
        return "RPM";
    case SensorClass::other:
        return "";
    }
    return {};
}

void to_json(Json& j, SensorCategory category) {
    j = json::enumToJson(category);
}
void from_json(const Json& j, SensorCategory& category) {
    category = json::enumFromJson<SensorCategory>(j, "category");
}
void to_json(Json& j, SensorClass sensorClass) {
    j = json::enumToJson(sensorClass);
}
void from_json(const Json& j, SensorClass& sensorClass) {
    sensorClass = json::enumFromJson<SensorClass>(j, "sensorClass");
}

void to_json(Json& j, const SMCSensor& sensor) {
    j = Json{{"id", sensor.id},
             {"key", sensor.key},
             {"name", sensor.name},
             {"category", sensor.category},
             {"currentTemp", json::finite(sensor.currentTemp)},
             {"sensorClass", sensor.sensorClass},
             {"unit", sensor.unit}};
}

void from_json(const Json& j, SMCSensor& sensor) {
    sensor = SMCSensor{
        json::requireString(j, "id"),          json::requireString(j, "key"),
        json::requireString(j, "name"),        json::requireKey(j, "category").get<SensorCategory>(),
        json::requireDouble(j, "currentTemp"), json::requireKey(j, "sensorClass").get<SensorClass>(),
        json::requireString(j, "unit")};
}

} // namespace halvoren

std::size_t std::hash<halvoren::SMCSensor>::operator()(const halvoren::SMCSensor& sensor) const noexcept {
    std::size_t h = std::hash<std::string>{}(sensor.id);
    const auto mix = [&h](std::size_t v) { h ^= v + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2); };
    mix(std::hash<std::string>{}(sensor.key));
    mix(std::hash<std::string>{}(sensor.name));
    mix(static_cast<std::size_t>(sensor.category));
    // Equal values must hash alike: 0.0 and -0.0 compare equal, so fold them together.
    mix(std::hash<double>{}(sensor.currentTemp == 0.0 ? 0.0 : sensor.currentTemp));
    mix(static_cast<std::size_t>(sensor.sensorClass));
    mix(std::hash<std::string>{}(sensor.unit));
    return h;
}
