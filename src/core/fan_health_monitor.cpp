#include "core/fan_health_monitor.h"

#include "core/double_text.h"

#include <cmath>

namespace halvoren {

std::optional<FanHealthMonitor::Event> FanHealthMonitor::observe(int fan, std::optional<double> commandedRPM,
                                                                 double actualRPM, double now) {
    FanState& state = states_[fan];
    // NaN fails the comparison and so counts as no command.
    if (!commandedRPM || !(*commandedRPM >= minimumJudgeableCommand)) {
        const bool wasWarned = state.warning.has_value();
        state = FanState{};
        if (wasWarned) {
            return Recovered{fan};
        }
        return std::nullopt;
    }
    return judge(state, fan, *commandedRPM, actualRPM, now);
}

std::optional<FanHealthMonitor::Event> FanHealthMonitor::judge(FanState& state, int fan, double commanded,
                                                               double actual, double now) {
    // A moving target is not judged against old timers.
    if (state.lastCommand &&
        std::fabs(commanded - *state.lastCommand) > *state.lastCommand * commandStabilityTolerance) {
        state.stallSince.reset();
        state.underperformSince.reset();
    }
    state.lastCommand = commanded;

    // A warned fan raises nothing new until it recovers: a stalled fan that begins to turn
    // slowly stays stalled.
    if (state.warning) {
        if (actual >= commanded * recoveryFraction) {
            state.warning.reset();
            state.stallSince.reset();
            state.underperformSince.reset();
            return Recovered{fan};
        }
        return std::nullopt;
    }

    if (actual < stallRPMFloor) {
        // A slow fan that stops keeps its slowness timer.
        if (!state.stallSince) {
            state.stallSince = now;
        }
        if (now - *state.stallSince < stallWindow) {
            return std::nullopt;
        }
        state.warning = Warning::stalled;
        return Stalled{fan};
    }
    state.stallSince.reset();

    if (actual < commanded * underperformFraction) {
        if (!state.underperformSince) {
            state.underperformSince = now;
        }
        if (now - *state.underperformSince < underperformWindow) {
            return std::nullopt;
        }
        state.warning = Warning::underperforming;
        return Underperforming{fan, actual, commanded};
    }
    state.underperformSince.reset();
    return std::nullopt;
}

std::optional<FanHealthMonitor::Warning> FanHealthMonitor::warning(int fan) const {
    const auto it = states_.find(fan);
    return it == states_.end() ? std::nullopt : it->second.warning;
}

namespace FanHealthText {

std::string alertKey(int fan) {
    return "fanhealth." + std::to_string(fan);
}

std::string_view alertTitle(FanHealthMonitor::Warning warning) {
    return warning == FanHealthMonitor::Warning::stalled ? "Halvoren: Fan May Have Failed"
                                                         : "Halvoren: Fan May Be Obstructed";
}

std::string stalledMessage(std::string_view fanName, double commandedRPM) {
    return std::string(fanName) + " is commanded to " + fixedText(commandedRPM, 0) +
           " RPM but isn't spinning.";
}

std::string underperformingMessage(std::string_view fanName, double actualRPM, double commandedRPM) {
    return std::string(fanName) + " only reaches " + fixedText(actualRPM, 0) + " of " +
           fixedText(commandedRPM, 0) + " RPM. Dust or an obstruction may be limiting it.";
}

std::string_view shortLabel(FanHealthMonitor::Warning warning) {
    return warning == FanHealthMonitor::Warning::stalled ? "Warning: fan may have failed"
                                                         : "Warning: fan may be obstructed";
}

std::string_view detail(FanHealthMonitor::Warning warning) {
    return warning == FanHealthMonitor::Warning::stalled
               ? "This fan is commanded to spin but isn't. It may have failed."
               : "This fan can't reach its commanded speed. Dust or an obstruction may be limiting it.";
}

} // namespace FanHealthText
} // namespace halvoren
