#pragma once

#include "core/sensor.h"
#include "smc/smc_kernel_bridge.h"

#include <memory>
#include <vector>

namespace halvoren {

// Finds the controller's sensors by walking its key table, and refreshes them afterwards.
// Never throws and never logs: a key that fails at any step is left out without trace,
// and a reading that fails or is implausible leaves the old value in place.
class SensorDiscovery {
public:
    explicit SensorDiscovery(std::shared_ptr<SMCKernelBridge> bridge);

    // Every kept sensor of any class, in the controller's index order. Costs two exchanges
    // per key, plus one for key information not yet cached.
    std::vector<SMCSensor> discoverAll() const;
    // discoverAll, temperatures only.
    std::vector<SMCSensor> discover() const;
    // The same sensors in the same order with new readings where a reading succeeds.
    std::vector<SMCSensor> refresh(const std::vector<SMCSensor>& sensors) const;

private:
    std::shared_ptr<SMCKernelBridge> bridge;
};

} // namespace halvoren
