#pragma once

#include "app/headless_options.h"

#include <memory>

namespace halvoren {

class QtTimerSource;

// The engine with no user interface: on the simulated Mac with its helper as a child
// process, or on this machine's controller and installed helper. Ends after the given
// duration or on SIGINT/SIGTERM, handing the fans back first.
class HeadlessRun {
public:
    explicit HeadlessRun(HeadlessOptions options);
    ~HeadlessRun();
    HeadlessRun(const HeadlessRun&) = delete;
    HeadlessRun& operator=(const HeadlessRun&) = delete;

    // Runs the event loop; returns the process's exit code. Needs a QCoreApplication.
    int exec();

private:
    struct Parts;
    void shutDown();

    HeadlessOptions options_;
    std::unique_ptr<QtTimerSource> timers_;
    std::unique_ptr<Parts> parts_;
    bool shuttingDown_ = false;
};

} // namespace halvoren
