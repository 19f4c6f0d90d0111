#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace halvoren {

// Compares what each fan was commanded with what it measures, over time, and reports the
// edges. It holds no clock: the caller passes the instant, in seconds of a clock that stops
// while the machine sleeps, so a sleep does not mature the timers.
class FanHealthMonitor {
public:
    static constexpr double minimumJudgeableCommand = 500.0; // RPM; below it nothing is judged
    static constexpr double stallRPMFloor = 100.0;           // RPM; below it the fan is not spinning
    static constexpr double stallWindow = 20.0;              // seconds
    static constexpr double underperformFraction = 0.7;      // of the command: slow below it
    static constexpr double underperformWindow = 90.0;       // seconds
    // A command that moves by more than this fraction of the last one restarts both windows.
    static constexpr double commandStabilityTolerance = 0.1;
    // At or above this fraction of the command a warning clears. Between it and
    // `underperformFraction` nothing starts or clears, so a fan at the edge does not flap.
    static constexpr double recoveryFraction = 0.9;

    enum class Warning { stalled, underperforming };

    struct Stalled {
        int fan = 0;
        friend bool operator==(const Stalled&, const Stalled&) = default;
    };
    struct Underperforming {
        int fan = 0;
        double actualRPM = 0.0;
        double commandedRPM = 0.0;
        friend bool operator==(const Underperforming&, const Underperforming&) = default;
    };
    struct Recovered {
        int fan = 0;
        friend bool operator==(const Recovered&, const Recovered&) = default;
    };
    using Event = std::variant<Stalled, Underperforming, Recovered>;

    // Judges one sample of one fan. An absent command (firmware control, a failed reading) or
    // one below `minimumJudgeableCommand` clears the fan's timers and its warning.
    std::optional<Event> observe(int fan, std::optional<double> commandedRPM, double actualRPM, double now);

    std::optional<Warning> warning(int fan) const;

private:
    struct FanState {
        std::optional<double> stallSince;
        std::optional<double> underperformSince;
        std::optional<double> lastCommand;
        std::optional<Warning> warning;
    };
    std::optional<Event> judge(FanState& state, int fan, double commanded, double actual, double now);

    // A fan that disappears keeps its entry; there are at most a handful of ids.
    std::map<int, FanState> states_;
};

// The texts of the fan-health warnings.
namespace FanHealthText {

// The alert rule of one fan: "fanhealth." and its id.
std::string alertKey(int fan);
// The notification's title and message for a stall or a slow fan; `commandedRPM` of a stall is
// the fan's present ramped target, 0 when it has none.
std::string_view alertTitle(FanHealthMonitor::Warning warning);
std::string stalledMessage(std::string_view fanName, double commandedRPM);
std::string underperformingMessage(std::string_view fanName, double actualRPM, double commandedRPM);
// What the fan rows show: a short label and the sentence under it.
std::string_view shortLabel(FanHealthMonitor::Warning warning);
std::string_view detail(FanHealthMonitor::Warning warning);

} // namespace FanHealthText
} // namespace halvoren
