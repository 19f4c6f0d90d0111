#pragma once

#include "smc/smc_transport.h"

#include <memory>

namespace halvoren {

// The transport to this machine's controller, defined once per platform. Throws SMCError
// when the controller cannot be opened (serviceNotFound, openFailed).
std::unique_ptr<SMCTransport> openSystemTransport();

} // namespace halvoren
