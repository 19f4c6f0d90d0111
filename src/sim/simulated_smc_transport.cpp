#include "sim/simulated_smc_transport.h"

#include "smc/smc_error.h"

#include <cstdio>
#include <cstdlib>

namespace halvoren {

SimulatedSMCTransport::SimulatedSMCTransport(std::shared_ptr<SimulatedMac> mac)
    : mac_(std::move(mac)) {
    if (!mac_) {
        std::fprintf(stderr, "fatal: a simulated transport needs a machine\n");
        std::abort();
    }
}

std::unique_ptr<SMCTransport> openSimulatedTransport(std::shared_ptr<SimulatedMac> mac) {
    if (mac) {
        if (const auto code = mac->faults().openFailure) {
            throw SMCError::openFailed(*code);
        }
    }
    return std::make_unique<SimulatedSMCTransport>(std::move(mac));
}

} // namespace halvoren
