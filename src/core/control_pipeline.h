#pragma once

#include "core/ema_filter.h"
#include "core/fan_curve.h"

#include <optional>

namespace halvoren {

// Temperature to a smoothed fraction of the fan range: curve (or a fixed override),
// then a floor, then the moving average. Holds the filter's state between ticks.
struct ControlPipeline {
    FanCurve curve;
    EMAFilter ema;
    double proactiveFloor = 0.0;
    // Replaces the curve, but still passes through the floor and the filter.
    std::optional<double> fixedOverride{};

    // Advances the filter by one sample.
    double targetPercentage(double temp);

    // A fraction of the range to RPM; 0 is the fan's minimum, not a stopped fan. Aborts
    // when fanMin > fanMax. NaN in any argument comes out as NaN for the write policy.
    static double percentageToRPM(double percentage, double fanMin, double fanMax);
};

} // namespace halvoren
