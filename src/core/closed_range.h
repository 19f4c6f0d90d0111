#pragma once

#include "core/clamp.h"

namespace halvoren {

// Bounds that include both ends.
struct ClosedRange {
    double lower;
    double upper;

    // False for NaN.
    constexpr bool contains(double x) const { return lower <= x && x <= upper; }
    // The program's one clamp to these bounds; NaN passes through.
    constexpr double clamp(double x) const { return clampTo(x, lower, upper); }
};

} // namespace halvoren
