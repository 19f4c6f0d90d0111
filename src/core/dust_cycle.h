#pragma once

#include <array>
#include <cstddef>

namespace halvoren {

// What the user interface shows of a dust cycle.
struct DustCycleUIState {
    enum class Kind { idle, running, completed, aborted };

    Kind kind = Kind::idle;
    int secondsLeft = 0; // whole seconds left while running; 0 otherwise

    static DustCycleUIState idle() { return {}; }
    static DustCycleUIState running(int secondsLeft) { return {Kind::running, secondsLeft}; }
    static DustCycleUIState completed() { return {Kind::completed, 0}; }
    static DustCycleUIState aborted() { return {Kind::aborted, 0}; }

    friend bool operator==(const DustCycleUIState&, const DustCycleUIState&) = default;
};

// Pulses every fan between high and low speed to shake dust loose. The schedule is a pure
// function of the time since the start, so a slow pass delays a step but never stretches the
// whole cycle.
namespace DustCycle {

struct Step {
    double dutyFraction; // of each fan's range from its minimum to its maximum
    double duration;     // seconds
};

inline constexpr std::size_t stepCount = 10;
// A spin-up and a spin-down, five times over.
inline constexpr std::array<Step, stepCount> pattern = [] {
    std::array<Step, stepCount> steps{};
    for (std::size_t i = 0; i < stepCount; ++i) {
        steps[i] = i % 2 == 0 ? Step{0.8, 3.0} : Step{0.3, 2.0};
    }
    return steps;
}();
inline constexpr double totalDuration = 25.0;
static_assert([] {
    double sum = 0.0;
    for (const Step& step : pattern) {
        sum += step.duration;
    }
    return sum == totalDuration;
}());
inline constexpr double abortTemperature = 85.0;

struct Verdict {
    enum class Kind { run, finished, abortOverTemp, abortHelperLost };

    Kind kind = Kind::finished;
    double dutyFraction = 0.0; // run only
    int stepIndex = 0;         // run only
    double remaining = 0.0;    // run only: seconds to the end of the whole cycle

    friend bool operator==(const Verdict&, const Verdict&) = default;
};

// The helper is tested first, then the temperature (NaN aborts, so does exactly 85 °C), then
// the time; a step boundary belongs to the later step.
Verdict verdict(double elapsed, double controlTemp, bool helperConnected);

// The fan speed for a duty fraction of the fan's range.
double targetRPM(double dutyFraction, double minRPM, double maxRPM);

} // namespace DustCycle

} // namespace halvoren
