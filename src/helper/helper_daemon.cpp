#include "helper/helper_daemon.h"

namespace halvoren {

HelperDaemon::HelperDaemon(FanWriter& writer, TimerSource& timers, HelperServer::Options serverOptions)
    : safety_(writer, timers)
    , service_(writer, safety_, timers.clock())
    , server_(
          std::move(serverOptions),
          [this](std::string_view payload) { return service_.handleFrame(payload); },
          [this] { safety_.lastClientGone(); }) {}

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
