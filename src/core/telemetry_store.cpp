#include "core/telemetry_store.h"

#include <algorithm>

namespace halvoren {

void TelemetryStore::record(double maxTemp, double fanRPM, double systemWatts, double fanWatts, WallTime at) {
    maxTemp_.append(maxTemp);
    fanRPM_.append(fanRPM);
    systemWatts_.append(systemWatts);
    fanWatts_.append(fanWatts);
    timestamps_.append(at);
}

std::vector<HistorySample> TelemetryStore::history() const {
    const std::size_t n = std::min(
        {maxTemp_.size(), fanRPM_.size(), systemWatts_.size(), fanWatts_.size(), timestamps_.size()});
    std::vector<HistorySample> samples;
    samples.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        samples.push_back({timestamps_[i], maxTemp_[i], fanRPM_[i], systemWatts_[i], fanWatts_[i]});
    }
    return samples;
}

} // namespace halvoren
