#pragma once

#include "core/fan_status.h"
#include "smc/fan_control_protocol.h"
#include "smc/smc_kernel_bridge.h"

#include <memory>
#include <optional>
#include <vector>

namespace halvoren {

// Reads the fans through a shared bridge. Never throws: a failed read falls back to a
// documented value, and a fan whose speed cannot be read is still listed.
class SMCFanReader {
public:
    explicit SMCFanReader(std::shared_ptr<SMCKernelBridge> bridge);

    // "FNum" clamped to 0...10; when it cannot be read, one more than the highest fan
    // index 0...9 whose speed key exists, or 0.
    int fanCount() const;
    // Fan `fan` (0...9, else the process aborts), read in the order current, minimum,
    // maximum, target, mode. Managed means forced in the controller's own protocol: the mode
    // key reads neither 0 nor 3 (the system's thermal control), or the fan's bit of "FS! " is
    // set. The protocol is looked up once, when the controller answers.
    FanStatus status(int fan) const;
    // status of each fan below fanCount(), in order.
    std::vector<FanStatus> allFans() const;

private:
    std::shared_ptr<SMCKernelBridge> bridge;
    // Each reader is used by one thread at a time, so the lazy lookup needs no lock.
    mutable std::optional<FanControlProtocol> protocol;
};

} // namespace halvoren
