#include "core/fan_curve.h"

#include "core/clamp.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace halvoren {

FanCurve::FanCurve(std::vector<CurvePoint> points)
    : points_(std::move(points)) {
    if (points_.size() < 2) {
        std::fprintf(stderr, "fatal: a fan curve needs at least two points, got %zu\n", points_.size());
        std::abort();
    }
    std::stable_sort(points_.begin(), points_.end(),
                     [](const CurvePoint& a, const CurvePoint& b) { return a.temperature < b.temperature; });
}

FanCurve::FanCurve(const std::vector<std::pair<double, double>>& pairs)
    : FanCurve([&pairs] {
        std::vector<CurvePoint> points;
        points.reserve(pairs.size());
        for (const auto& [temperature, fraction] : pairs) {
            points.push_back(CurvePoint::make(temperature, fraction));
        }
        return points;
    }()) {}

double FanCurve::rpmPercentage(double temperature) const {
    // Only a moved-from curve is empty; it must still answer.
    if (points_.empty()) {
        return 0.0;
    }
    const CurvePoint& first = points_.front();
    const CurvePoint& last = points_.back();
    if (temperature <= first.temperature) {
        return clampUnit(first.rpmPercentage);
    }
    if (temperature >= last.temperature) {
        return clampUnit(last.rpmPercentage);
    }
    for (std::size_t i = 1; i < points_.size(); ++i) {
        const CurvePoint& upper = points_[i];
        if (upper.temperature >= temperature) {
            const CurvePoint& lower = points_[i - 1];
            const double span = upper.temperature - lower.temperature;
            const double f = span > 0.0 ? (temperature - lower.temperature) / span : 1.0;
            return clampUnit(lower.rpmPercentage + f * (upper.rpmPercentage - lower.rpmPercentage));
        }
    }
    // Reached only by NaN, which no comparison above accepted.
    return clampUnit(last.rpmPercentage);
}

} // namespace halvoren
