#pragma once

namespace halvoren {

// Clamp with the program's one meaning: x <= lo gives lo, x > hi gives hi, else x.
// A NaN compares false everywhere and so passes through unchanged; the write
// policy rejects it last.
constexpr double clampTo(double x, double lo, double hi) {
    if (x <= lo) {
        return lo;
    }
    if (x > hi) {
        return hi;
    }
    return x;
}

// A fraction of a fan's range, 0.0 to 1.0.
constexpr double clampUnit(double x) {
    return clampTo(x, 0.0, 1.0);
}

} // namespace halvoren
