#include "core/ema_filter.h"

#include "core/clamp.h"

namespace halvoren {

namespace {
constexpr double minAlpha = 0.05;
constexpr double maxAlpha = 1.0;
} // namespace

EMAFilter::EMAFilter(double alpha)
    : alpha_(clampTo(alpha, minAlpha, maxAlpha)) {}

void EMAFilter::setAlpha(double alpha) {
    alpha_ = clampTo(alpha, minAlpha, maxAlpha);
}

double EMAFilter::update(double raw) {
    const double next = value ? raw * alpha_ + *value * (1.0 - alpha_) : raw;
    value = next;
    return next;
}

} // namespace halvoren
