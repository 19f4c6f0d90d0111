#pragma once

#include <chrono>

namespace halvoren {

// A reading of the wall clock: history timestamps and export names.
using WallTime = std::chrono::system_clock::time_point;

// One second of the recorded history: the hottest temperature (°C), the fastest fan (RPM),
// the system's draw and the fans' estimated draw (W), at a wall-clock time.
struct HistorySample {
    WallTime timestamp;
    double maxTemp = 0.0;
    double fanRPM = 0.0;
    double systemWatts = 0.0;
    double fanWatts = 0.0;

    friend bool operator==(const HistorySample&, const HistorySample&) = default;
};

} // namespace halvoren
