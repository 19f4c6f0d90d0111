#pragma once

#include "helper/fan_writer.h"
#include "platform/clock.h"
#include "smc/fan_control_protocol.h"
#include "smc/smc_kernel_bridge.h"

#include <map>
#include <memory>
#include <set>
#include <string>

namespace halvoren {

// Fan writes through the controller's own keys, in the protocol its keys show (see
// fan_control_protocol.h): force the fan, read back that it held, then write F<n>Tg.
//
// On M2 to M4 the system's thermal control holds the fans until "Ftst" = 1 and lets go a few
// seconds later. The daemon's one thread must not wait that long, so the first setTarget
// writes "Ftst" = 1 and throws FanWritePending; later calls force the fan once its mode has
// left 3. A fan still held after `releaseDeadline` is given up: the unlock is undone and the
// fan refused at once for `coolOff`, so that a client writing ten times a second does not
// start it again and again.
class SMCFanWriter final : public FanWriter {
public:
    static constexpr double releaseDeadline = 10.0; // seconds from "Ftst" = 1
    static constexpr double coolOff = 30.0;         // seconds a fan that could not be forced is refused
    static constexpr int holdAttempts = 3;          // writes of the mode key per call until one holds

    // Reads the fan count and the protocol once: the controller's fans and keys do not come and
    // go. `clock` times the unlock and must outlive the writer.
    SMCFanWriter(std::shared_ptr<SMCKernelBridge> bridge, std::string description, const Clock& clock);

    std::string description() const override { return description_ + " (" + protocol_.description() + ")"; }
    int fanCount() const override { return fanCount_; }
    FanLimits limits(int fan) override;
    double setTarget(int fan, double rpm) override;
    std::optional<std::string> refusal(int fan) const override;
    void setAutomatic(int fan) override;
    // Every fan, then "Ftst": also what a previous run may have left set.
    void restoreAutomatic() override;

    const FanControlProtocol& protocol() const { return protocol_; }

private:
    struct Refusal {
        double until = 0.0;
        std::string text;
    };

    // Takes the fan, whose mode reads `mode`, from the firmware or the system, or throws.
    void force(int fan, double mode);
    void forceAfterUnlock(int fan, double mode);
    // Sets the mode key to 1 up to holdAttempts times; true once a read-back shows it.
    bool holdMode(int fan);
    [[noreturn]] void refuse(int fan, const std::string& why);
    // Clears "Ftst" when this writer set it and no fan needs it any more.
    void relockIfUnused();

    std::shared_ptr<SMCKernelBridge> bridge_;
    std::string description_;
    const Clock& clock_;
    int fanCount_ = 0;
    FanControlProtocol protocol_;

    std::set<int> held_;              // fans this writer forced
    std::map<int, double> releasing_; // fans waiting for the system to let go, since when
    std::map<int, Refusal> refused_;  // fans that could not be forced, until when
    bool unlocked_ = false;           // this writer set "Ftst" and has not cleared it
};

} // namespace halvoren
