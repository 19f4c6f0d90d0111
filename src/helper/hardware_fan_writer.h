#pragma once

#include "helper/fan_writer.h"

#include <filesystem>
#include <memory>

namespace halvoren {

// The writer for this machine's own fans, looked for under the hwmon class directory
// `sysfsRoot`: the applesmc driver when it is present; otherwise the first other hwmon device
// with a writable pwm<N>_enable and a fan<N>_target; otherwise none.
std::unique_ptr<FanWriter> openHardwareFanWriter(const std::filesystem::path& sysfsRoot);

} // namespace halvoren
