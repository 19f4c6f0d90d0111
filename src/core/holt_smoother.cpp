#include "core/holt_smoother.h"

#include "core/clamp.h"

#include <cmath>

namespace halvoren {

void HoltSmoother::update(double sample) {
    if (!std::isfinite(sample)) {
        return;
    }
    if (sampleCount == 0) {
        level = sample;
        trendPerSample = 0.0;
    } else {
        const double newLevel = alpha_ * sample + (1.0 - alpha_) * (level + trendPerSample);
        trendPerSample = beta_ * (newLevel - level) + (1.0 - beta_) * trendPerSample;
        level = newLevel;
    }
    ++sampleCount;
}

double HoltSmoother::projected(double samplesAhead) const {
    const double swing = clampTo(trendPerSample * samplesAhead, -maxProjectionSwing, maxProjectionSwing);
    return clampTo(level + swing, 0.0, 120.0);
}

double HoltSmoother::trendPerMinute(double sampleInterval) const {
    if (!(sampleInterval > 0.0)) {
        return 0.0;
    }
    return 60.0 / sampleInterval * trendPerSample;
}

} // namespace halvoren
