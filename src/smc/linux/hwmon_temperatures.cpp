#include "smc/hid_sensor_source.h"
#include "smc/linux/hwmon_directory.h"

namespace halvoren {

std::vector<std::pair<std::string, double>> hwmonTemperatures(const std::filesystem::path& root) {
    std::vector<std::pair<std::string, double>> readings;
    for (const Hwmon::Device& device : Hwmon::devices(root)) {
        if (device.name == "applesmc") {
            continue;
        }
        for (const int n : device.numbered("temp", "_input")) {
            const auto milli = Hwmon::readInteger(device.attribute("temp" + std::to_string(n) + "_input"));
            if (!milli) {
                continue;
            }
            const auto label = Hwmon::readText(device.attribute("temp" + std::to_string(n) + "_label"));
            const std::string name = label && !label->empty() ? device.name + " " + *label : device.name;
            readings.emplace_back(name, static_cast<double>(*milli) / 1000.0);
        }
    }
    return readings;
}

HIDSensorSource::Backend platformHIDBackend() {
    return [] { return hwmonTemperatures("/sys/class/hwmon"); };
}

} // namespace halvoren
