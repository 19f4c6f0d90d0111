#pragma once

#include "core/json_value.h"

namespace halvoren {

// The state of one fan at one moment, identified by its controller index from 0.
struct FanStatus {
    int id = 0;
    double currentRPM = 0.0;
    double minRPM = 0.0;
    double maxRPM = 0.0;
    double targetRPM = 0.0; // the target the controller currently holds
    bool isManaged = false; // under forced (software) control rather than the firmware's
    // False when the last read of the measured speed failed. Never encoded; decodes as true.
    bool currentRPMValid = true;

    friend bool operator==(const FanStatus&, const FanStatus&) = default;
};

void to_json(Json& j, const FanStatus& fan);
void from_json(const Json& j, FanStatus& fan);

} // namespace halvoren
