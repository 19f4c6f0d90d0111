#pragma once

#include "smc/smc_transport.h"

#include <filesystem>
#include <memory>

namespace halvoren {

// This machine's controller: IOKit on macOS, applesmc on Linux. Throws SMCError when it
// cannot be opened (serviceNotFound, openFailed). On Linux a non-empty `hwmonRoot` is searched
// for the applesmc device instead of /sys/class/hwmon; macOS has no such tree and ignores it.
std::unique_ptr<SMCTransport> openSystemTransport(const std::filesystem::path& hwmonRoot = {});

} // namespace halvoren
