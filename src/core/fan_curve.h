#pragma once

#include "core/curve_point.h"

#include <utility>
#include <vector>

namespace halvoren {

// A piecewise-linear map from temperature to a fraction of a fan's range. The points
// are private so that the order and the minimum of two points always hold.
class FanCurve {
public:
    // Aborts on fewer than two points. Sorts stably by ascending temperature, so points of
    // equal temperature keep their given order (the first of them is the step's foot).
    explicit FanCurve(std::vector<CurvePoint> points);
    // One point with a fresh identity per (temperature, fraction) pair, in the given order.
    explicit FanCurve(const std::vector<std::pair<double, double>>& pairs);

    const std::vector<CurvePoint>& points() const { return points_; }

    // The fraction at `temperature`, clamped to 0...1. Outside the curve the end points
    // hold; a NaN temperature reads as the top of the curve, so an unusable reading
    // runs the fans fast rather than slow.
    double rpmPercentage(double temperature) const;

    friend bool operator==(const FanCurve&, const FanCurve&) = default;

private:
    std::vector<CurvePoint> points_;
};

} // namespace halvoren
