#pragma once

#include "core/ring_buffer.h"
#include "core/telemetry_sample.h"

#include <cstddef>
#include <vector>

namespace halvoren {

// The last minute of the four measured series, one sample a second, in memory only. The
// caller passes the wall-clock time of each sample.
class TelemetryStore {
public:
    static constexpr std::size_t window = 60;

    void record(double maxTemp, double fanRPM, double systemWatts, double fanWatts, WallTime at);

    // Oldest first. The series are appended together, but the shortest still decides the length.
    std::vector<HistorySample> history() const;

    const RingBuffer& maxTemp() const { return maxTemp_; }
    const RingBuffer& fanRPM() const { return fanRPM_; }
    const RingBuffer& systemWatts() const { return systemWatts_; }
    const RingBuffer& fanWatts() const { return fanWatts_; }
    const BasicRingBuffer<WallTime>& timestamps() const { return timestamps_; }

private:
    RingBuffer maxTemp_{window};
    RingBuffer fanRPM_{window};
    RingBuffer systemWatts_{window};
    RingBuffer fanWatts_{window};
    BasicRingBuffer<WallTime> timestamps_{window};
};

} // namespace halvoren
