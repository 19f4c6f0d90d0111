#include "helper/linux/hwmon_fan_writer.h"

#include "helper/linux/sysfs_attribute.h"
#include "smc/linux/hwmon_directory.h"

#include <cmath>

namespace halvoren {
namespace {

constexpr int maxFans = 10; // the application names fans 0...9

std::string numbered(std::string_view prefix, int n, std::string_view suffix) {
    return std::string(prefix) + std::to_string(n) + std::string(suffix);
}

} // namespace

std::unique_ptr<HwmonFanWriter> HwmonFanWriter::open(const std::filesystem::path& root) {
    for (const auto& device : Hwmon::devices(root)) {
        if (device.name == "applesmc") {
            continue;
        }
        std::vector<Channel> channels;
        for (const int n : device.numbered("pwm", "_enable")) {
            const auto enable = device.attribute(numbered("pwm", n, "_enable"));
            const auto target = numbered("fan", n, "_target");
            if (channels.size() == maxFans || !device.attributes.contains(target) ||
                !SysfsAttribute::isWritable(enable)) {
                continue;
            }
            Channel channel{n, enable, device.attribute(target), device.attribute(numbered("fan", n, "_min")),
                            device.attribute(numbered("fan", n, "_max"))};
            const auto mode = Hwmon::readInteger(enable);
            if (mode && *mode != 1) {
                channel.handBackMode = *mode;
            }
            channels.push_back(std::move(channel));
        }
        if (!channels.empty()) {
            return std::unique_ptr<HwmonFanWriter>(new HwmonFanWriter(device.directory, std::move(channels)));
        }
    }
    return nullptr;
}

HwmonFanWriter::HwmonFanWriter(std::filesystem::path directory, std::vector<Channel> channels)
    : directory_(std::move(directory))
    , channels_(std::move(channels)) {}

std::string HwmonFanWriter::description() const {
    return "hwmon at " + directory_.string();
}

FanLimits HwmonFanWriter::limits(int fan) {
    const Channel& channel = channels_.at(static_cast<std::size_t>(fan));
    const auto minimum = Hwmon::readInteger(channel.minimum);
    const auto maximum = Hwmon::readInteger(channel.maximum);
    if (!minimum || !maximum) {
        throw FanWriteError("cannot read the limits of fan " + std::to_string(fan));
    }
    return FanLimits{static_cast<double>(*minimum), static_cast<double>(*maximum)};
}

double HwmonFanWriter::setTarget(int fan, double rpm) {
    const Channel& channel = channels_.at(static_cast<std::size_t>(fan));
    const long long whole = std::llround(rpm);
    SysfsAttribute::write(channel.enable, 1);
    SysfsAttribute::write(channel.target, whole);
    return static_cast<double>(whole);
}

void HwmonFanWriter::setAutomatic(int fan) {
    const Channel& channel = channels_.at(static_cast<std::size_t>(fan));
    SysfsAttribute::write(channel.enable, channel.handBackMode);
}

std::vector<std::pair<std::filesystem::path, long long>> HwmonFanWriter::handBackFiles() const {
    std::vector<std::pair<std::filesystem::path, long long>> writes;
    for (const Channel& channel : channels_) {
        writes.emplace_back(channel.enable, channel.handBackMode);
    }
    return writes;
}

} // namespace halvoren
