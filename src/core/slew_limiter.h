#pragma once

namespace halvoren {

// Limits how fast a target may move, in RPM per second. A rate that is not finite and
// positive means no limit.
struct SlewLimiter {
    double ratePerSecond = 0.0;

    bool isLimited() const;
    // One move from `current` toward `target` over `dt` seconds.
    double step(double current, double target, double dt) const;

    friend bool operator==(const SlewLimiter&, const SlewLimiter&) = default;
};

} // namespace halvoren
