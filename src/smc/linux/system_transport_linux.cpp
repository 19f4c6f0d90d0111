#include "smc/linux/applesmc_transport.h"
#include "smc/system_transport.h"

namespace halvoren {

std::unique_ptr<SMCTransport> openSystemTransport() {
    return std::make_unique<AppleSMCTransport>();
}

} // namespace halvoren
