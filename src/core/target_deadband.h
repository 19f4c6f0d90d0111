#pragma once

#include <optional>

namespace halvoren {

// Holds a fan's target until the desired speed has moved far enough, so the fans do not
// hunt. Speeding up needs less than slowing down: heat is answered quickly, and the
// fans wind down only for a clear fall.
struct TargetDeadband {
    static constexpr double risingThreshold = 50.0;   // RPM
    static constexpr double fallingThreshold = 150.0; // RPM

    std::optional<double> committed;

    // The target to use now. A non-finite `desired` changes nothing.
    double commit(double desired);
    void reset() { committed.reset(); }

    friend bool operator==(const TargetDeadband&, const TargetDeadband&) = default;
};

} // namespace halvoren
