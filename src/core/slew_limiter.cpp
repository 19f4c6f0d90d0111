#include "core/slew_limiter.h"

#include <cmath>

namespace halvoren {

bool SlewLimiter::isLimited() const {
    return std::isfinite(ratePerSecond) && ratePerSecond > 0.0;
}

double SlewLimiter::step(double current, double target, double dt) const {
    // Without a usable rate, interval or starting point there is nothing to limit from.
    if (!isLimited() || !(dt > 0.0) || !std::isfinite(current)) {
        return target;
    }
    const double limit = ratePerSecond * dt;
    const double delta = target - current;
    if (limit < delta) {
        return current + limit;
    }
    if (delta < -limit) {
        return current - limit;
    }
    return target;
}

} // namespace halvoren
