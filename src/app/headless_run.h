#pragma once

#include "app/launch_options.h"

#include <memory>

namespace halvoren {

class EngineHost;

// The engine with no user interface: on the simulated Mac with its helper as a child
// process, or on this machine's controller and installed helper. Ends after the given
// duration or on SIGINT/SIGTERM, handing the fans back first.
class HeadlessRun {
public:
    explicit HeadlessRun(LaunchOptions options);
    ~HeadlessRun();
    HeadlessRun(const HeadlessRun&) = delete;
    HeadlessRun& operator=(const HeadlessRun&) = delete;

    // Runs the event loop; returns the process's exit code. Needs a QCoreApplication.
    int exec();

private:
    void shutDown();

    std::unique_ptr<EngineHost> host_;
};

} // namespace halvoren
