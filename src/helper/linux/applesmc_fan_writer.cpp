#include "helper/linux/applesmc_fan_writer.h"

#include "helper/linux/sysfs_attribute.h"

#include <algorithm>
#include <cmath>

namespace halvoren {
namespace {

constexpr int maxFans = 10; // the application names fans 0...9

} // namespace

std::unique_ptr<AppleSMCFanWriter> AppleSMCFanWriter::open(const std::filesystem::path& root) {
    for (auto& device : Hwmon::devices(root)) {
        if (device.name == "applesmc") {
            return std::make_unique<AppleSMCFanWriter>(std::move(device));
        }
    }
    return nullptr;
}

AppleSMCFanWriter::AppleSMCFanWriter(Hwmon::Device device)
    : device_(std::move(device)) {
    // Fans are numbered without gaps, as the driver creates them.
    while (fanCount_ < maxFans &&
           device_.attributes.contains("fan" + std::to_string(fanCount_ + 1) + "_input")) {
        ++fanCount_;
    }
}

std::string AppleSMCFanWriter::description() const {
    return "applesmc at " + device_.directory.string();
}

std::filesystem::path AppleSMCFanWriter::file(int fan, std::string_view suffix) const {
    return device_.attribute("fan" + std::to_string(fan + 1) + std::string(suffix));
}

FanLimits AppleSMCFanWriter::limits(int fan) {
    const auto minimum = Hwmon::readInteger(file(fan, "_min"));
    const auto maximum = Hwmon::readInteger(file(fan, "_max"));
    if (!minimum || !maximum) {
        throw FanWriteError("cannot read the limits of fan " + std::to_string(fan));
    }
    return FanLimits{static_cast<double>(*minimum), static_cast<double>(*maximum)};
}

double AppleSMCFanWriter::setTarget(int fan, double rpm) {
    // The driver takes whole RPM; the caller's clamp keeps the value far inside long long.
    const long long whole = std::llround(rpm);
    SysfsAttribute::write(file(fan, "_manual"), 1);
    SysfsAttribute::write(file(fan, "_output"), whole);
    return static_cast<double>(whole);
}

void AppleSMCFanWriter::setAutomatic(int fan) {
    SysfsAttribute::write(file(fan, "_manual"), 0);
}

std::vector<std::pair<std::filesystem::path, long long>> AppleSMCFanWriter::handBackFiles() const {
    std::vector<std::pair<std::filesystem::path, long long>> writes;
    writes.reserve(static_cast<std::size_t>(fanCount_));
    for (int fan = 0; fan < fanCount_; ++fan) {
        writes.emplace_back(file(fan, "_manual"), 0);
    }
    return writes;
}

} // namespace halvoren
