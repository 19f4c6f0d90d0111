#pragma once

#include "core/helper_messages.h"
#include "helper/client_id.h"
#include "helper/fan_safety.h"
#include "helper/fan_writer.h"
#include "platform/clock.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace halvoren {

// The five calls of the helper, independent of how they arrive. This is the last place that
// checks a fan write: the index must name a fan of the writer, the RPM must pass
// WritePolicy::vet against the fan's limits as read now, and a fan whose limits cannot be read
// is not written at all.
class HelperService {
public:
    // `clock` times the uptime from now on.
    HelperService(FanWriter& writer, FanSafety& safety, const Clock& clock);

    // One frame's payload from `client` in, the payload of its reply out; none when the frame
    // has no readable id, and the connection is to be closed. Any frame with an id counts as
    // that client's sign of life.
    std::optional<std::string> handleFrame(ClientId client, std::string_view payload);
    // A fan that `client` forces is that client's until it disconnects, falls silent, or
    // another client writes the fan.
    HelperReply handle(ClientId client, const HelperRequest& request);

private:
    HelperReply::Outcome setTarget(ClientId client, int fan, double rpm);
    HelperReply::Outcome setManualControl(ClientId client, int fan, bool enabled);
    HelperReply::Outcome restoreAutomaticControl(ClientId client);
    std::optional<HelperReply::Failure> checkFan(int fan) const;

    FanWriter& writer_;
    FanSafety& safety_;
    const Clock& clock_;
    const double startedAt_;
    std::map<int, double> targets_; // the last target applied to each fan
};

} // namespace halvoren
