#include "helper/helper_daemon.h"

namespace halvoren {

HelperDaemon::HelperDaemon(FanWriter& writer, TimerSource& timers, HelperServer::Options serverOptions)
    : safety_(writer, timers)
    , service_(writer, safety_, timers.clock())
    , server_(
          std::move(serverOptions), timers,
          [this](ClientId client, std::string_view payload) { return service_.handleFrame(client, payload); },
          [this](ClientId client) { safety_.clientGone(client); }) {}

void HelperDaemon::start() {
    safety_.restoreAll("the helper is starting");
    server_.listen();
}

void HelperDaemon::stop(std::string_view reason) {
    // Closed first, so that no request can force a fan after the hand-back.
    server_.close();
    safety_.restoreAll(reason);
}

} // namespace halvoren
