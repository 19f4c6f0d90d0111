#pragma once

#include "core/helper_constants.h"
#include "helper/client_id.h"
#include "helper/fan_writer.h"
#include "platform/timer_source.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace halvoren {

// Knows which fans the daemon has taken from the firmware, and for which client, and gives them
// back. A fan belongs to the client that wrote it last. A client's fans go back when it
// disconnects and when it has sent nothing for `timeout` seconds, whatever other clients do;
// every fan goes back on restoreAll (a client's request, start, stop, a signal).
//
// A fan counts as forced from the moment a write to it starts until it is handed back for
// certain. A hand-back that fails leaves the fan forced without an owner, and it is tried again
// every `retryDelay` seconds until it succeeds or a client takes the fan over. Every hand-back is
// logged with its reason.
class FanSafety {
public:
    static constexpr double retryDelay = 1.0;

    FanSafety(FanWriter& writer, TimerSource& timers, double timeout = HelperConstants::heartbeatTimeout);
    ~FanSafety();
    FanSafety(const FanSafety&) = delete;
    FanSafety& operator=(const FanSafety&) = delete;

    // Any request of `client`: its watchdog counts from here.
    void noteActivity(ClientId client);
    // Before a write of `client` that takes `fan` from the firmware; the fan is that client's
    // from now on.
    void noteForcing(ClientId client, int fan);
    // After `fan` alone was handed back, for `reason`.
    void noteHandedBack(int fan, std::string_view reason);
    // `client` disconnected: hands its fans back now.
    void clientGone(ClientId client);

    // Hands every fan back, whatever is counted as forced and whoever forced it. Returns why any
    // fan failed, and all then stay forced without an owner; none on success.
    std::optional<std::string> restoreAll(std::string_view reason);

    bool anyForced() const { return !forced_.empty(); }
    // The client that owns `fan`, while it is forced and owned.
    std::optional<ClientId> owner(int fan) const;

private:
    struct Forced {
        std::optional<ClientId> owner; // none: handing it back failed, and the retry is due at retryAt
        double retryAt = 0.0;
    };

    // Hands `fan` back; on failure it stays forced, without an owner.
    void handBack(int fan, const std::string& reason);
    // When the next fan falls due, if any does.
    std::optional<double> nextDue() const;
    // Makes sure the watchdog fires no later than the next due time.
    void arm();
    void watchdogFired();

    FanWriter& writer_;
    TimerSource& timers_;
    const double timeout_;
    std::map<int, Forced> forced_;
    std::map<ClientId, double> lastRequest_;
    TimerHandle watchdog_;
    std::optional<double> armedFor_; // when the pending watchdog fires
};

} // namespace halvoren
