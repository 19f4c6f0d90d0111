#pragma once

#include "app/launch_options.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

class QSettings;

namespace halvoren {

class HalvorenEngine;
class HelperServiceManager;
class QtTimerSource;
class SimulatedSystem;
class SMCDriverActor;

// The engine and what it runs on, as the command line asks: the simulated Mac with its helper
// as a child process, or this machine's controller and installed helper; the settings file.
// Shared by the headless program and the application, which differ only in what they show.
class EngineHost {
public:
    explicit EngineHost(LaunchOptions options);
    ~EngineHost();
    EngineHost(const EngineHost&) = delete;
    EngineHost& operator=(const EngineHost&) = delete;

    // Builds everything; a message fit for the user when it cannot.
    std::optional<std::string> build();
    HalvorenEngine& engine() { return *engine_; }
    QtTimerSource& timers() { return *timers_; }
    QSettings& settings() { return *settings_; }
    bool simulated() const { return options_.simulateProfile.has_value(); }
    const LaunchOptions& options() const { return options_; }

    // Starts the engine; on the simulated Mac once its helper is in place, as an installed
    // service would be. `problem` hears what keeps the helper from starting. The preset and the
    // action of the command line follow once the helper is connected and the fans are known.
    void start(std::function<void(const std::string&)> problem);

    // The one way out: the loop stops, the almanac is saved, the history exported when asked, and
    // the fans go back while the helper still answers; then `done` gets the exit code. A helper
    // that never answers gets `limitMs` before `done(1)`. Later calls do nothing.
    void shutDown(std::function<void(int)> done, int limitMs = 6000);

private:
    void applyStartup();

    LaunchOptions options_;
    std::unique_ptr<QtTimerSource> timers_;
    std::unique_ptr<SimulatedSystem> simulatedSystem_;
    std::unique_ptr<HelperServiceManager> services_;
    std::unique_ptr<SMCDriverActor> driver_;
    std::unique_ptr<QSettings> settings_;
    std::unique_ptr<HalvorenEngine> engine_;
    bool presetApplied_ = false;
    bool actionApplied_ = false;
    bool shuttingDown_ = false;
};

} // namespace halvoren
