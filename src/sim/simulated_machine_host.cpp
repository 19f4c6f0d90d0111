#include "sim/simulated_machine_host.h"

#include "smc/fan_control_protocol.h"
#include "smc/unix_socket.h"

#include <stdexcept>
#include <sys/stat.h>
#include <system_error>

namespace halvoren {

SimulatedMachineHost::SimulatedMachineHost(const std::string& profile, const Clock& clock, std::uint64_t seed,
                                           std::unique_ptr<LoadScenario> load, std::string socketPath)
    : mac_(std::make_shared<SimulatedMac>(MachineProfile::named(profile), clock, seed, std::move(load)))
    , servedTransport_(mac_)
    , handBackBridge_(std::make_unique<SimulatedSMCTransport>(mac_))
    , server_(servedTransport_, std::move(socketPath), [this] { handBackEveryFan(); }) {
    try {
        UnixSocket::makeSocketDirectory(server_.path(), S_IRUSR | S_IWUSR);
        server_.start();
    } catch (const std::system_error& error) {
        throw std::runtime_error("cannot serve the simulated controller on " + server_.path() + ": " +
                                 error.what());
    }
}

std::shared_ptr<SMCKernelBridge> SimulatedMachineHost::openBridge() {
    return std::make_shared<SMCKernelBridge>(openSimulatedTransport(mac_));
}

// Runs on the server's thread, in the machine's own protocol, as the helper would. Each step is
// tried on its own, so one failing write (an injected fault) still lets the others go back.
void SimulatedMachineHost::handBackEveryFan() {
    halvoren::handBackEveryFan(handBackBridge_, mac_->fanControl(), static_cast<int>(mac_->fans().size()));
}

} // namespace halvoren
