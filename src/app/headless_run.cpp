#include "app/headless_run.h"

#include "app/simulated_system.h"
#include "app/status_line.h"
#include "core/competing_fan_controllers.h"
#include "core/helper_constants.h"
#include "engine/halvoren_engine.h"
#include "engine/simulated_helper_service_manager.h"
#include "engine/smc_driver_actor.h"
#include "platform/running_programs.h"
#include "platform/termination_signals.h"
#include "platform/timer_source.h"

#include <QCoreApplication>
#include <QSettings>
#include <QTimer>
#include <cstdio>
#include <functional>
#include <iostream>
#include <set>

#if defined(__linux__)
#include "engine/linux/systemd_helper_service_manager.h"
#endif

namespace halvoren {
namespace {

// How long a shutdown waits for the fans to be handed back; the driver's own timeout is shorter.
constexpr int shutdownLimitMs = 6000;

// Says each distinct problem once, on stderr, so a server's log shows what is missing.
class ProblemReporter {
public:
    void report(const std::string& text) {
        if (said_.insert(text).second) {
            std::cerr << "halvoren: " << text << std::endl;
        }
    }

private:
    std::set<std::string> said_;
};

std::string helperProblem(const HelperState& state, bool simulated) {
    switch (state.kind()) {
    case HelperState::Kind::connected:
    case HelperState::Kind::enabled:
        return {};
    case HelperState::Kind::notRegistered:
        return simulated ? "the simulated fan-control helper is not running; fans stay with the firmware"
                         : "the fan-control helper is not installed or not running (see packaging/systemd); "
                           "sensors are read, fans stay with the firmware";
    case HelperState::Kind::requiresApproval:
        return "the fan-control helper is waiting for approval; fans stay with the firmware";
    case HelperState::Kind::unavailable:
        break;
    }
    return "fan control is unavailable: " + state.reason();
}

} // namespace

struct HeadlessRun::Parts {
    std::unique_ptr<SimulatedSystem> simulated;
    std::unique_ptr<HelperServiceManager> services;
    std::unique_ptr<SMCDriverActor> driver;
    std::unique_ptr<QSettings> settings;
    std::unique_ptr<HalvorenEngine> engine;
};

HeadlessRun::HeadlessRun(HeadlessOptions options)
    : options_(std::move(options))
    , timers_(std::make_unique<QtTimerSource>())
    , parts_(std::make_unique<Parts>()) {}

HeadlessRun::~HeadlessRun() {
    // The engine first: it holds references to everything built before it.
    parts_->engine.reset();
    parts_->driver.reset();
    parts_->services.reset();
    parts_->simulated.reset();
}

int HeadlessRun::exec() {
    Parts& parts = *parts_;
    FanDriver* driver = nullptr;
    // Empty for a real machine: the engine asks the host.
    std::function<HalvorenEngine::CoreCounts()> coreCounts;
    if (options_.simulateProfile) {
        try {
            parts.simulated =
                std::make_unique<SimulatedSystem>(*options_.simulateProfile, options_.load, *timers_);
        } catch (const std::exception& error) {
            std::cerr << "halvoren: " << error.what() << std::endl;
            return 2;
        }
        driver = &parts.simulated->driver();
        coreCounts = [counts = parts.simulated->coreCounts()] { return counts; };
    } else {
#if defined(__linux__)
        parts.services = std::make_unique<SystemdHelperServiceManager>(*timers_);
        parts.driver = std::make_unique<SMCDriverActor>(
            *timers_,
            QString::fromUtf8(HelperConstants::systemSocketPath.data(),
                              static_cast<qsizetype>(HelperConstants::systemSocketPath.size())),
            *parts.services);
        driver = parts.driver.get();
#else
        std::cerr << "halvoren: headless mode on this system needs --simulate for now" << std::endl;
        return 2;
#endif
    }

    parts.settings = options_.settingsPath
                         ? std::make_unique<QSettings>(QString::fromStdString(*options_.settingsPath),
                                                       QSettings::IniFormat)
                         : std::make_unique<QSettings>();
    parts.engine = std::make_unique<HalvorenEngine>(
        FanProfile::appleAuto(), HalvorenEngine::Environment{.driver = *driver,
                                                             .timers = *timers_,
                                                             .settings = *parts.settings,
                                                             .coreCounts = std::move(coreCounts),
                                                             .hidFactory = {}});
    HalvorenEngine& engine = *parts.engine;

    ProblemReporter problems;
    const bool simulated = options_.simulateProfile.has_value();
    // The preset needs the helper; the actions need the fans too. Each is applied once.
    bool presetApplied = false;
    bool actionApplied = false;
    const auto applyStartup = [&] {
        if (engine.helperState()->kind() != HelperState::Kind::connected) {
            return;
        }
        if (options_.preset && !presetApplied) {
            presetApplied = true;
            engine.selectPreset(*options_.preset);
        }
        if (actionApplied || engine.fans()->empty()) {
            return;
        }
        actionApplied = true;
        if (options_.turbo) {
            engine.engageTurbo();
        } else if (options_.cooldown) {
            engine.startCooldown(*options_.cooldown);
        } else if (options_.manualRPM) {
            for (const auto& [id, fan] : engine.fans().value()) {
                engine.setFanTarget(id, *options_.manualRPM);
            }
        } else if (options_.dustCycle) {
            engine.startDustCycle();
        }
    };
    engine.helperState().observe([&](const HelperState& state) {
        if (const std::string problem = helperProblem(state, simulated); !problem.empty()) {
            problems.report(problem);
        }
        applyStartup();
    });
    engine.fans().observe([&](const HalvorenEngine::FanMap&) { applyStartup(); });
    const auto reportClosedController = [&] {
        if (!engine.smcAvailable().value()) {
            problems.report(
                smcUnavailableDescription(competingFanControllerName(runningProgramIdentifiers())));
        }
    };
    engine.smcAvailable().observe([&](bool) { reportClosedController(); });
    // The field starts false, so a controller that never opens shows no change: look once the
    // first passes are done.
    QTimer::singleShot(2000, reportClosedController);

    if (simulated) {
        // For the simulated Mac the helper is ours to install, as an unprivileged child; it is in
        // place before the engine first asks for it, as an installed service would be.
        [[maybe_unused]] auto task = [](SimulatedHelperServiceManager& services, HalvorenEngine& engine,
                                        ProblemReporter& problems) -> QCoro::Task<void> {
            if (const auto failure = co_await services.registerService()) {
                problems.report("cannot start the simulated fan-control helper: " + *failure);
            }
            engine.start();
        }(parts.simulated->services(), engine, problems);
    } else {
        engine.start();
    }

    QTimer status;
    if (options_.statusJson) {
        QObject::connect(&status, &QTimer::timeout, [&] {
            std::cout << statusLine(engine, SystemClock::shared().wallNow()).dump() << std::endl;
        });
        status.start(1000);
    }
    TerminationSignals termination([this](int) { shutDown(); });
    QTimer duration;
    if (options_.duration) {
        duration.setSingleShot(true);
        QObject::connect(&duration, &QTimer::timeout, [this] { shutDown(); });
        duration.start(static_cast<int>(*options_.duration * 1000.0));
    }
    return QCoreApplication::exec();
}

void HeadlessRun::shutDown() {
    if (shuttingDown_) {
        return;
    }
    shuttingDown_ = true;
    [[maybe_unused]] auto task = [](HeadlessRun* self) -> QCoro::Task<void> {
        HalvorenEngine& engine = *self->parts_->engine;
        engine.stop();
        engine.prepareForTermination();
        if (const auto& path = self->options_.exportCsvPath; path && !engine.writeHistoryCSV(*path)) {
            std::cerr << "halvoren: " << engine.lastError()->value_or("") << std::endl;
        }
        // Hand the fans back while the helper can still be reached; the helper and the
        // driver's exit hook do it too, should this fail.
        if (engine.helperState()->kind() == HelperState::Kind::connected) {
            co_await engine.restoreAuto();
            if (const auto& error = engine.lastError().value();
                error && error->starts_with("restore failed")) {
                std::cerr << "halvoren: " << *error << std::endl;
            }
        }
        QCoreApplication::exit(0);
    }(this);
    // A helper that never answers must not keep the program alive.
    QTimer::singleShot(shutdownLimitMs, [] { QCoreApplication::exit(1); });
}

} // namespace halvoren
