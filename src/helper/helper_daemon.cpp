#include "helper/helper_daemon.h"

#include <system_error>

namespace halvoren {

HelperDaemon::HelperDaemon(FanWriter& writer, TimerSource& timers, HelperServer::Options serverOptions)
    : safety_(writer, timers)
    , service_(writer, safety_, timers.clock())
    , server_(
          std::move(serverOptions), timers,
          [this](ClientId client, std::string_view payload) { return service_.handleFrame(client, payload); },
          [this](ClientId client) { safety_.clientGone(client); }) {}

void HelperDaemon::start() {
    // Listening comes first, so a second helper that finds a live one on the socket leaves that
    // helper's fans alone. Any other failure still hands back what a dead helper left forced. No
    // request can arrive between the two: both run before the event loop does.
    try {
        server_.listen();
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::address_in_use) {
            safety_.restoreAll("the helper is starting");
        }
        throw;
    }
    safety_.restoreAll("the helper is starting");
}

void HelperDaemon::stop(std::string_view reason) {
    // Closed first, so that no request can force a fan after the hand-back.
    server_.close();
    safety_.restoreAll(reason);
}

} // namespace halvoren
