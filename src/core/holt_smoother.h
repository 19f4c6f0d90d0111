#pragma once

#include <cstdint>

namespace halvoren {

// Double exponential smoothing of a temperature sampled at a fixed interval: a level and a
// change per sample. The first sample sets the level with no trend.
class HoltSmoother {
public:
    // The most a projection may move away from the level, in degrees.
    static constexpr double maxProjectionSwing = 12.0;

    HoltSmoother(double alpha, double beta)
        : alpha_(alpha)
        , beta_(beta) {}

    double alpha() const { return alpha_; }
    double beta() const { return beta_; }

    // A sample that is not finite is ignored: one bad reading would otherwise poison the
    // level for good.
    void update(double sample);
    // The level plus the trend over `samplesAhead`, the swing held within
    // ±maxProjectionSwing and the result within 0...120 °C.
    double projected(double samplesAhead) const;
    // The trend scaled to a minute; 0 when `sampleInterval` (seconds) is not positive.
    double trendPerMinute(double sampleInterval) const;

    double level = 0.0;
    double trendPerSample = 0.0;
    std::int64_t sampleCount = 0;

private:
    double alpha_;
    double beta_;
};

} // namespace halvoren
