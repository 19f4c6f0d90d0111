#pragma once

#include "platform/clock.h"
#include "sim/load_scenario.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/smc_kernel_bridge.h"
#include "smc/smc_socket_server.h"

#include <cstdint>
#include <memory>
#include <string>

namespace halvoren {

// The simulated Mac as the application runs it: one machine, read in-process through bridges of
// its own and served on a Unix socket to the fan-control helper, so the machine outlives any
// helper that comes and goes. When the last client of the socket goes, every fan is handed back
// to its firmware curve in the machine's own protocol (mode keys, "FS! " bits, then "Ftst"): a
// helper that is killed before it can do so leaves no fan forced.
class SimulatedMachineHost {
public:
    // `profile` is a built-in name or a profile file; `clock` must outlive the host. The socket's
    // directory is made (0700) when missing. Throws ProfileError for a profile it cannot use and
    // std::runtime_error naming the path when the socket cannot be served.
    SimulatedMachineHost(const std::string& profile, const Clock& clock, std::uint64_t seed,
                         std::unique_ptr<LoadScenario> load, std::string socketPath);
    SimulatedMachineHost(const SimulatedMachineHost&) = delete;
    SimulatedMachineHost& operator=(const SimulatedMachineHost&) = delete;

    // A new bridge to the machine, opened as the driver's connection would be: throws
    // SMCError::openFailed when the machine's fault plan makes it unopenable.
    std::shared_ptr<SMCKernelBridge> openBridge();

    const MachineProfile& profile() const { return mac_->profile(); }
    SimulatedMac& mac() { return *mac_; }
    const std::string& socketPath() const { return server_.path(); }

private:
    void handBackEveryFan();

    std::shared_ptr<SimulatedMac> mac_;
    SimulatedSMCTransport servedTransport_;
    SMCKernelBridge handBackBridge_;
    // Last, so it stops before what it calls goes away.
    SMCSocketServer server_;
};

} // namespace halvoren
