#pragma once

#include "smc/smc_transport.h"

#include <memory>

namespace halvoren {

// The machine's own controller: IOKit on macOS, applesmc on Linux. Throws SMCError.
std::unique_ptr<SMCTransport> openSystemTransport();

} // namespace halvoren
