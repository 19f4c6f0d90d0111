#include "platform/application_watcher.h"

#if !defined(__linux__) && !defined(__APPLE__)
namespace halvoren {
namespace {

// Where the system gives no list of applications, none runs and none starts.
class NoApplicationWatcher final : public ApplicationWatcher {
public:
    std::vector<std::string> runningApplicationIDs() override { return {}; }
    void start(Notices /*notices*/) override {}
    void stop() override {}
};

} // namespace

std::unique_ptr<ApplicationWatcher> systemApplicationWatcher(TimerSource& /*timers*/) {
    return std::make_unique<NoApplicationWatcher>();
}

} // namespace halvoren
#endif
