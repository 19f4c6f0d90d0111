#include "app/engine_host.h"

#include "app/simulated_system.h"
#include "core/helper_constants.h"
#include "engine/halvoren_engine.h"
#include "engine/simulated_helper_service_manager.h"
#include "engine/smc_driver_actor.h"
#include "platform/timer_source.h"

#include <QSettings>
#include <QTimer>
#include <filesystem>
#include <iostream>

#if defined(__linux__)
#include "engine/linux/systemd_helper_service_manager.h"
#endif

namespace halvoren {

EngineHost::EngineHost(LaunchOptions options)
    : options_(std::move(options))
    , timers_(std::make_unique<QtTimerSource>()) {}

EngineHost::~EngineHost() {
    // The engine first: it holds references to everything built before it.
    engine_.reset();
    driver_.reset();
    services_.reset();
    simulatedSystem_.reset();
}

std::optional<std::string> EngineHost::build() {
    FanDriver* driver = nullptr;
    // Empty for a real machine: the engine asks the host.
    std::function<HalvorenEngine::CoreCounts()> coreCounts;
    if (options_.simulateProfile) {
        try {
            simulatedSystem_ =
                std::make_unique<SimulatedSystem>(*options_.simulateProfile, options_.load, *timers_);
        } catch (const std::exception& error) {
            return error.what();
        }
        driver = &simulatedSystem_->driver();
        coreCounts = [counts = simulatedSystem_->coreCounts()] { return counts; };
    } else {
#if defined(__linux__)
        services_ = std::make_unique<SystemdHelperServiceManager>(*timers_);
        const QString socket =
            options_.helperSocket
                ? QString::fromStdString(*options_.helperSocket)
                : QString::fromUtf8(HelperConstants::systemSocketPath.data(),
                                    static_cast<qsizetype>(HelperConstants::systemSocketPath.size()));
        driver_ = std::make_unique<SMCDriverActor>(
            *timers_, socket, *services_, [root = std::filesystem::path(options_.sysfsRoot.value_or(""))] {
                return SMCDriverActor::openRealBridge(root);
            });
        driver = driver_.get();
#else
        return "this system needs --simulate for now";
#endif
    }
    settings_ = options_.settingsPath
                    ? std::make_unique<QSettings>(QString::fromStdString(*options_.settingsPath),
                                                  QSettings::IniFormat)
                    : std::make_unique<QSettings>();
    engine_ = std::make_unique<HalvorenEngine>(
        FanProfile::appleAuto(), HalvorenEngine::Environment{.driver = *driver,
                                                             .timers = *timers_,
                                                             .settings = *settings_,
                                                             .coreCounts = std::move(coreCounts),
                                                             .hidFactory = {}});
    return std::nullopt;
}

void EngineHost::applyStartup() {
    HalvorenEngine& engine = *engine_;
    if (engine.helperState()->kind() != HelperState::Kind::connected) {
        return;
    }
    if (options_.preset && !presetApplied_) {
        presetApplied_ = true;
        engine.selectPreset(*options_.preset);
    }
    if (actionApplied_ || engine.fans()->empty()) {
        return;
    }
    actionApplied_ = true;
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
}

void EngineHost::start(std::function<void(const std::string&)> problem) {
    // The preset needs the helper; the actions need the fans too. Each is applied once.
    engine_->helperState().observe([this](const HelperState&) { applyStartup(); });
    engine_->fans().observe([this](const HalvorenEngine::FanMap&) { applyStartup(); });
    if (!simulatedSystem_ || options_.noHelper) {
        engine_->start();
        return;
    }
    [[maybe_unused]] auto task = [](SimulatedHelperServiceManager& services, HalvorenEngine& engine,
                                    std::function<void(const std::string&)> problem) -> QCoro::Task<void> {
        if (const auto failure = co_await services.registerService()) {
            problem("cannot start the simulated fan-control helper: " + *failure);
        }
        engine.start();
    }(simulatedSystem_->services(), *engine_, std::move(problem));
}

void EngineHost::shutDown(std::function<void(int)> done, int limitMs) {
    if (shuttingDown_) {
        return;
    }
    shuttingDown_ = true;
    // Whichever comes first ends it; the other finds `done` spent.
    auto once = std::make_shared<std::function<void(int)>>(std::move(done));
    const auto finish = [once](int code) {
        if (*once) {
            auto call = std::move(*once);
            *once = nullptr;
            call(code);
        }
    };
    [[maybe_unused]] auto task = [](EngineHost* self, std::function<void(int)> finish) -> QCoro::Task<void> {
        HalvorenEngine& engine = *self->engine_;
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
        finish(0);
    }(this, finish);
    QTimer::singleShot(limitMs, [finish] { finish(1); });
}

} // namespace halvoren
