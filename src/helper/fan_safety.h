#pragma once

#include "core/helper_constants.h"
#include "helper/fan_writer.h"
#include "platform/timer_source.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace halvoren {

// Knows which fans the daemon has taken from the firmware and gives them back: on request,
// when the last client leaves, and when no client has sent anything for `timeout` seconds
// while a fan is forced. A fan counts as forced from the moment a write to it starts until it
// is handed back for certain, so a write that fails half-way, or a hand-back that fails, still
// leaves it counted, and the next disconnect or watchdog turn tries again. Every hand-back is
// logged with its reason.
class FanSafety {
public:
    FanSafety(FanWriter& writer, TimerSource& timers, double timeout = HelperConstants::heartbeatTimeout);
    ~FanSafety();
    FanSafety(const FanSafety&) = delete;
    FanSafety& operator=(const FanSafety&) = delete;

    // Any request of any client: the watchdog counts from here.
    void noteActivity();
    // Before a write that takes `fan` from the firmware.
    void noteForcing(int fan);
    // After `fan` alone was handed back, for `reason`.
    void noteHandedBack(int fan, std::string_view reason);

    // Hands every fan back, whatever is counted as forced. Returns why any fan failed, and
    // all then stay counted as forced; none on success.
    std::optional<std::string> restoreAll(std::string_view reason);
    // The last client disconnected: hands every fan back if any is forced.
    void lastClientGone();

    bool anyForced() const { return uncertain_ || !forced_.empty(); }

private:
    void arm(double delay);
    void watchdogFired();

    FanWriter& writer_;
    TimerSource& timers_;
    const double timeout_;
    std::set<int> forced_;
    bool uncertain_ = false; // a hand-back failed: any fan may still be forced
    double lastActivity_;
    TimerHandle watchdog_;
    bool armed_ = false;
};

} // namespace halvoren
