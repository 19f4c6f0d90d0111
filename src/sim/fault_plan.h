#pragma once

#include "smc/smc_param_struct.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace halvoren {

// Misbehaviour to inject into a simulated controller. The default plan injects nothing.
struct FaultPlan {
    // Exchanges throw SMCError::callFailed(code): the next `count` of them, or all while `count` is none.
    struct FailingCalls {
        std::int32_t code = 0;
        std::optional<int> count{};
    };

    std::optional<FailingCalls> failingCalls{};
    // A real wait before every exchange, in seconds.
    double callDelay = 0.0;
    // A result code (132, 133, 134...) given instead of doing the command on the key. For the
    // by-index command the key is the one at the asked index.
    std::map<std::pair<std::string, SMCCommand>, std::uint8_t> resultOverrides{};
    // Keys that no longer exist: gone from the index and the count, and answered with 132.
    std::set<std::string> vanishedKeys{};
    // Fans that do not turn at all, whatever their target.
    std::set<int> stalledFans{};
    // Fans that reach at most this fraction of their maximum speed.
    std::map<int, double> obstructedFans{};
    // Opening a transport fails with SMCError::openFailed(code).
    std::optional<std::int32_t> openFailure{};
};

} // namespace halvoren
