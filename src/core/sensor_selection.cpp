#include "core/sensor_selection.h"

namespace halvoren::SensorSelection {

bool isNamed(const SMCSensor& sensor) {
    return sensor.name != sensor.key;
}

std::optional<double> trustedMaxTemperature(std::span<const SMCSensor> sensors) {
    std::optional<double> hottest;
    for (const SMCSensor& sensor : sensors) {
        if (sensor.sensorClass == SensorClass::temperature && isNamed(sensor) &&
            (!hottest || sensor.currentTemp > *hottest)) {
            hottest = sensor.currentTemp;
        }
    }
    return hottest;
}

} // namespace halvoren::SensorSelection
