#include "helper/hardware_fan_writer.h"
#include "helper/linux/applesmc_fan_writer.h"
#include "helper/linux/hwmon_fan_writer.h"

namespace halvoren {

std::unique_ptr<FanWriter> openHardwareFanWriter(const std::filesystem::path& sysfsRoot) {
    if (auto writer = AppleSMCFanWriter::open(sysfsRoot)) {
        return writer;
    }
    return HwmonFanWriter::open(sysfsRoot);
}

} // namespace halvoren
