#pragma once

#include <optional>

namespace halvoren {

// Exponential moving average. The first sample seeds it unblended. `alpha` is kept in
// 0.05...1.0 so the filter always moves and never overshoots; it is private so every
// assignment goes through that clamp.
class EMAFilter {
public:
    explicit EMAFilter(double alpha);

    double alpha() const { return alpha_; }
    void setAlpha(double alpha);

    // Blends `raw` into the value and returns the new value.
    double update(double raw);
    // Forgets the value; the next sample seeds again.
    void reset() { value.reset(); }

    // Absent until the first update.
    std::optional<double> value;

private:
    double alpha_;
};

} // namespace halvoren
