#pragma once

#include "smc/smc_transport.h"

#include <memory>

namespace halvoren {

// This machine's controller: IOKit on macOS, applesmc on Linux. Throws SMCError when it
// cannot be opened (serviceNotFound, openFailed).
std::unique_ptr<SMCTransport> openSystemTransport();

} // namespace halvoren
