#pragma once

#include "helper/fan_safety.h"
#include "helper/fan_writer.h"
#include "helper/helper_server.h"
#include "helper/helper_service.h"
#include "platform/timer_source.h"

#include <string_view>

namespace halvoren {

// The daemon put together over one fan writer: the safety net, the five calls and the socket,
// all on the calling thread's event loop, with time from `timers`.
class HelperDaemon {
public:
    HelperDaemon(FanWriter& writer, TimerSource& timers, HelperServer::Options serverOptions);

    // Hands every fan back, since a previous run may have died with fans forced, then starts
    // listening. Throws std::system_error when the socket cannot be made.
    void start();
    // Closes every connection and the socket, then hands every fan back for `reason`.
    void stop(std::string_view reason);

    FanSafety& safety() { return safety_; }
    HelperServer& server() { return server_; }

private:
    FanSafety safety_;
    HelperService service_;
    HelperServer server_;
};

} // namespace halvoren
