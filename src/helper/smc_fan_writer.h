#pragma once

#include "helper/fan_writer.h"
#include "smc/smc_kernel_bridge.h"

#include <memory>

namespace halvoren {

// Fan writes through the controller's own keys: F<n>Md = 1 then F<n>Tg for a target, F<n>Md = 0
// to hand a fan back. Serves the simulated Mac, in this process or behind its socket.
class SMCFanWriter final : public FanWriter {
public:
    // Reads the fan count once: the controller's fans do not come and go.
    SMCFanWriter(std::shared_ptr<SMCKernelBridge> bridge, std::string description);

    std::string description() const override { return description_; }
    int fanCount() const override { return fanCount_; }
    FanLimits limits(int fan) override;
    double setTarget(int fan, double rpm) override;
    void setAutomatic(int fan) override;

private:
    std::shared_ptr<SMCKernelBridge> bridge_;
    std::string description_;
    int fanCount_ = 0;
};

} // namespace halvoren
