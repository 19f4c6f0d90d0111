#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace halvoren {

class TimerSource;

// Watches which applications run, by an identifier per application: the bundle identifier
// on macOS; on Linux the desktop id where the process has one, else the executable's name.
// Lives on the main thread; notices arrive there.
class ApplicationWatcher {
public:
    struct Notices {
        std::function<void(const std::string& id)> launched;
        std::function<void(const std::string& id)> terminated;
    };

    virtual ~ApplicationWatcher() = default;
    // The identifiers of the applications running now, one per application.
    virtual std::vector<std::string> runningApplicationIDs() = 0;
    // Notices start after this call, for changes after the last `runningApplicationIDs()`;
    // a second start replaces the notices.
    virtual void start(Notices notices) = 0;
    // No notice arrives after this returns.
    virtual void stop() = 0;

protected:
    ApplicationWatcher() = default;
    ApplicationWatcher(const ApplicationWatcher&) = default;
    ApplicationWatcher& operator=(const ApplicationWatcher&) = default;
};

// The running system's own watcher; a poll, if it polls, is scheduled on `timers`.
std::unique_ptr<ApplicationWatcher> systemApplicationWatcher(TimerSource& timers);

} // namespace halvoren
