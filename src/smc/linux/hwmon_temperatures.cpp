#include "smc/hid_sensor_source.h"
#include "smc/linux/hwmon_directory.h"

#include <memory>

namespace halvoren {

namespace {

// The temperature attributes of every device but the controller, kept open between sweeps: a
// sweep reads one descriptor per sensor instead of walking the class directory again. Devices
// that come or go are noticed at the next listing, within `hwmonRescanInterval` sweeps.
class HwmonTemperatures {
public:
    explicit HwmonTemperatures(std::filesystem::path root)
        : root_(std::move(root)) {}

    std::vector<std::pair<std::string, double>> read() {
        if (readsSinceScan_ % hwmonRescanInterval == 0) {
            scan();
        }
        ++readsSinceScan_;
        std::vector<std::pair<std::string, double>> readings;
        readings.reserve(sensors_.size());
        for (Sensor& sensor : sensors_) {
            // Some drivers keep an attribute that never reads; it is skipped, not a reason to scan.
            if (const auto milli = sensor.input.readInteger()) {
                readings.emplace_back(sensor.name, static_cast<double>(*milli) / 1000.0);
            }
        }
        return readings;
    }

private:
    struct Sensor {
        std::string name;
        Hwmon::Attribute input;
    };

    void scan() {
        sensors_.clear();
        for (const Hwmon::Device& device : Hwmon::devices(root_)) {
            if (device.name == "applesmc") {
                continue;
            }
            for (const int n : device.numbered("temp", "_input")) {
                const auto label = Hwmon::readText(device.attribute("temp" + std::to_string(n) + "_label"));
                sensors_.push_back(
                    Sensor{label && !label->empty() ? device.name + " " + *label : device.name,
                           Hwmon::Attribute(device.attribute("temp" + std::to_string(n) + "_input"))});
            }
        }
    }

    std::filesystem::path root_;
    std::vector<Sensor> sensors_;
    int readsSinceScan_ = 0;
};

} // namespace

HIDSensorSource::Backend hwmonTemperatureBackend(std::filesystem::path root) {
    auto temperatures = std::make_shared<HwmonTemperatures>(std::move(root));
    return [temperatures] { return temperatures->read(); };
}

HIDSensorSource::Backend platformHIDBackend() {
    return hwmonTemperatureBackend("/sys/class/hwmon");
}

} // namespace halvoren
