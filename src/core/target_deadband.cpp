#include "core/target_deadband.h"

#include <cmath>

namespace halvoren {

double TargetDeadband::commit(double desired) {
    if (!std::isfinite(desired)) {
        return committed.value_or(desired);
    }
    if (!committed) {
        committed = desired;
        return desired;
    }
    // Both edges move the target.
    const double delta = desired - *committed;
    if (delta >= risingThreshold || delta <= -fallingThreshold) {
        committed = desired;
    }
    return *committed;
}

} // namespace halvoren
