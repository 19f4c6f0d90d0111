#pragma once

#include "platform/clock.h"
#include "sim/fault_plan.h"
#include "sim/load_scenario.h"
#include "sim/machine_profile.h"
#include "sim/thermal_model.h"
#include "smc/fan_control_protocol.h"
#include "smc/smc_param_struct.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace halvoren {

struct SimulatedFan {
    double actual = 0.0;
    double target = 0.0;
    double minimum = 0.0;
    double maximum = 0.0;
    bool forced = false;
};

struct NodeTemperature {
    std::string id;
    double temperature = 0.0;
};

// A Mac's controller in software: it answers the exchange of the real one from a machine profile
// and a thermal model that runs under a load. Fans are forced the way the profile's keys say
// (see fan_control_protocol.h): through the bits of "FS! ", through the mode key, or, with
// "Ftst" beside the mode key, only after Ftst = 1 has made the system's thermal control let go
// of them, which takes the profile's firmware releaseDelay; until then the mode keys read 3 and
// refuse 1 with result 0x82, and Ftst = 0 takes every fan back. The model advances lazily, in fixed steps, up
// to the clock's time whenever the machine is used, and sensor noise is a function of (seed, key, step), so a
// fixed seed and equal clock steps give equal bytes however often anyone reads. Every public operation is
// safe from any thread.
class SimulatedMac {
public:
    // A catch-up longer than this (a sleeping host, a clock jumped by a test) skips the rest and
    // holds the state, so a read never stalls for long.
    static constexpr double maximumCatchUpSeconds = 3600.0;

    SimulatedMac(MachineProfile profile, const Clock& clock, std::uint64_t seed,
                 std::unique_ptr<LoadScenario> load);
    SimulatedMac(const SimulatedMac&) = delete;
    SimulatedMac& operator=(const SimulatedMac&) = delete;

    // One exchange of the 80-byte structure: read value (5), write value (6), key by index (8) and
    // key information (9). Faults aside, failures are result codes in the output; an injected
    // call failure throws SMCError::callFailed.
    SMCParamStruct exchange(const SMCParamStruct& input);

    const MachineProfile& profile() const { return profile_; }
    const FanControlProtocol& fanControl() const { return fanControl_; }

    // Direct inspection for tests and tools, as of the clock's current time.
    std::vector<SimulatedFan> fans();
    std::vector<NodeTemperature> nodes();
    std::optional<double> nodeTemperature(std::string_view id);
    Load load();
    // Seconds of model time integrated so far.
    double simulatedSeconds();

    // The new load applies from now on; a scenario's time starts at zero when it is set.
    void setLoad(std::unique_ptr<LoadScenario> scenario);
    void setLoad(Load constant);

    FaultPlan faults() const;
    // Fan indices in the plan that the machine does not have are ignored.
    void setFaults(FaultPlan plan);

private:
    void advance();
    const ProfileKey* visibleKey(std::uint32_t code) const;
    std::optional<std::uint8_t> overridden(const ProfileKey& key, SMCCommand command) const;
    std::vector<std::uint8_t> valueBytes(std::size_t keyIndex) const;
    std::uint8_t write(std::size_t keyIndex, const SMCParamStruct& input);
    // A fan-control switch took new bytes.
    void switched(std::size_t keyIndex);
    std::optional<double> storedNumber(std::size_t keyIndex) const;
    void releaseIfDue();
    double noise(const ProfileKey& key, double amplitude) const;

    const MachineProfile profile_;
    const Clock& clock_;
    const std::uint64_t seed_;
    const double origin_;
    std::unordered_map<std::uint32_t, std::size_t> indexOfCode_;
    FanControlProtocol fanControl_;
    std::optional<std::size_t> forceBitsIndex_; // "FS! ", when its bits force the fans
    std::optional<std::size_t> unlockIndex_;    // "Ftst", when the system holds the fans

    mutable std::mutex mutex_;
    ThermalModel model_;
    std::uint64_t step_ = 0;
    std::unique_ptr<LoadScenario> load_;
    std::uint64_t loadOrigin_ = 0;
    Load lastLoad_;
    std::vector<std::vector<std::uint8_t>> stored_; // bytes of constant and fan-test keys
    FaultPlan faults_;
    std::vector<std::size_t> visible_; // key indices in index order, vanished keys left out
    std::vector<bool> vanished_;
    bool systemHolds_ = false;                 // the system's thermal control has every fan
    std::optional<std::uint64_t> releaseStep_; // when it lets go of them
};

} // namespace halvoren
