#pragma once

#include "core/fan_profile.h"

#include <utility>
#include <vector>

namespace halvoren {

// A profile's curve as plain (temperature, fraction) pairs, for comparing whole curves.
using Curve = std::vector<std::pair<double, double>>;

inline Curve numbers(const FanProfile& profile) {
    Curve curve;
    for (const CurvePoint& point : profile.curvePoints) {
        curve.emplace_back(point.temperature, point.rpmPercentage);
    }
    return curve;
}

} // namespace halvoren
