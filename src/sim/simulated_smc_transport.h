#pragma once

#include "sim/simulated_mac.h"
#include "smc/smc_transport.h"

#include <memory>

namespace halvoren {

// The transport to a simulated Mac: the same 80 bytes as the kernel driver's, so everything above
// the seam runs unchanged. Several transports may share one machine.
class SimulatedSMCTransport final : public SMCTransport {
public:
    explicit SimulatedSMCTransport(std::shared_ptr<SimulatedMac> mac);

    SMCParamStruct call(const SMCParamStruct& input) override { return mac_->exchange(input); }
    const std::shared_ptr<SimulatedMac>& mac() const { return mac_; }

private:
    std::shared_ptr<SimulatedMac> mac_;
};

// Opens a connection to the simulated controller as the driver's would be opened: throws
// SMCError::openFailed with the code of the machine's fault plan when it cannot be opened.
std::unique_ptr<SMCTransport> openSimulatedTransport(std::shared_ptr<SimulatedMac> mac);

} // namespace halvoren
