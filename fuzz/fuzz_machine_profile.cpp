// Machine profiles from text, and the simulated Mac made from one that loads. A profile either
// loads whole or is refused with ProfileError; one that loads must give a machine that answers
// every exchange, that the sensor discovery and the fan reader can walk, and whose fans can be
// driven, as the program would do with it.

#include "core/fan_key.h"
#include "fuzz_check.h"
#include "platform/clock.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/sensor_discovery.h"
#include "smc/smc_error.h"
#include "smc/smc_fan_reader.h"
#include "smc/smc_kernel_bridge.h"

#include <cmath>
#include <memory>

namespace {

using namespace halvoren;
using fuzz::check;

void drive(MachineProfile profile) {
    ManualClock clock;
    auto mac = std::make_shared<SimulatedMac>(std::move(profile), clock, 7, sustainedLoad());
    auto bridge = std::make_shared<SMCKernelBridge>(std::make_unique<SimulatedSMCTransport>(mac));
    const SensorDiscovery discovery(bridge);
    const SMCFanReader fans(bridge);

    auto sensors = discovery.discoverAll();
    const auto fanCount = fans.fanCount();
    check(fanCount >= 0 && fanCount <= 10, "the fan count lies in 0...10");
    for (int round = 0; round < 3; ++round) {
        for (int fan = 0; fan < fanCount; ++fan) {
            try {
                bridge->write(FanKey::mode(fan), 1.0);
                bridge->write(FanKey::target(fan), 1000.0 * (round + fan + 1));
            } catch (const SMCError&) {
                // A profile may describe a fan without writable keys.
            }
        }
        clock.advance(20.0);
        sensors = discovery.refresh(sensors);
        fans.allFans();
    }
    for (const auto& fan : mac->fans()) {
        check(!std::isnan(fan.actual), "a simulated fan's speed is a number");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    MachineProfile profile;
    try {
        profile = MachineProfile::parse(fuzz::text(data, size));
    } catch (const ProfileError&) {
        return 0;
    }
    check(!profile.name.empty() && !profile.thermal.nodes.empty(), "a loaded profile has a name and nodes");
    drive(std::move(profile));
    return 0;
}
