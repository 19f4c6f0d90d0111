#include "probe/probe_source.h"

#include "platform/clock.h"
#include "sim/load_scenario.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/hid_sensor_source.h"
#include "smc/sensor_discovery.h"
#include "smc/smc_error.h"
#include "smc/smc_fan_reader.h"
#include "smc/smc_kernel_bridge.h"
#include "smc/socket_smc_transport.h"
#include "smc/system_transport.h"

#include <memory>

namespace halvoren::probe {
namespace {

Report readAll(const std::shared_ptr<SMCKernelBridge>& bridge, std::string source, bool withHID) {
    Report report;
    report.source = std::move(source);
    report.sensors = SensorDiscovery(bridge).discoverAll();
    if (withHID) {
        for (const auto& reading : HIDSensorSource().readAll()) {
            report.sensors.push_back(sensorFromHID(reading));
        }
    }
    report.fans = SMCFanReader(bridge).allFans();
    return report;
}

} // namespace

std::variant<Report, ProbeFailure> runProbe(const Options& options) {
    try {
        switch (options.source) {
        case Options::Source::simulated: {
            MachineProfile machine;
            try {
                machine = MachineProfile::named(options.profile);
            } catch (const ProfileError& error) {
                return ProbeFailure{error.what()};
            }
            const std::string name = machine.name;
            auto mac =
                std::make_shared<SimulatedMac>(std::move(machine), SystemClock::shared(), 1, idleLoad());
            auto bridge = std::make_shared<SMCKernelBridge>(openSimulatedTransport(mac));
            return readAll(bridge, "simulated Mac \"" + name + "\"", false);
        }
        case Options::Source::socket: {
            auto bridge =
                std::make_shared<SMCKernelBridge>(std::make_unique<SocketSMCTransport>(options.smcSocket));
            return readAll(bridge, "simulated Mac served at " + options.smcSocket, false);
        }
        case Options::Source::system: {
            auto bridge = std::make_shared<SMCKernelBridge>(openSystemTransport());
            return readAll(bridge, "this machine's System Management Controller", true);
        }
        }
    } catch (const SMCError& error) {
        if (options.source == Options::Source::system) {
            return ProbeFailure{"no System Management Controller could be opened on this machine (" +
                                error.description() +
                                "). On a Mac running Linux, load the applesmc driver; anywhere, "
                                "--simulate shows a simulated Mac."};
        }
        if (options.source == Options::Source::socket) {
            return ProbeFailure{"cannot reach the simulated Mac at " + options.smcSocket + " (" +
                                error.description() + ")"};
        }
        return ProbeFailure{"the simulated Mac could not be opened (" + error.description() + ")"};
    }
    return ProbeFailure{"no source"};
}

} // namespace halvoren::probe
