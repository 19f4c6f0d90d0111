#include "engine/fan_driver.h"
#include "engine/halvoren_engine.h"
#include "engine/thermal_almanac_store.h"
#include "platform/application_watcher.h"
#include "platform/core_counts.h"
#include "platform/data_directory.h"
#include "platform/mic_activity_monitor.h"
#include "platform/notification_center.h"
#include "platform/power_state.h"
#include "platform/process_cpu_times.h"
#include "platform/timer_source.h"

#include <QDir>
#include <QSettings>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>
#include <coroutine>
#include <qcoro/qcorofuture.h>

namespace halvoren {

// The run loop's handle: `stop()` sets `cancelled` and wakes a sleeping loop at once.
struct HalvorenEngine::LoopControl {
    bool cancelled = false;
    TimerHandle sleep;
    std::coroutine_handle<> sleeper;

    void wake() {
        if (auto handle = std::exchange(sleeper, {})) {
            handle.resume();
        }
    }
};

namespace {

// The loop's sleep: ends when its time is up or when the loop is stopped, whichever comes
// first; a stopped loop does not sleep at all.
struct LoopSleep {
    std::shared_ptr<HalvorenEngine::LoopControl> control;
    TimerSource& timers;
    double seconds;

    bool await_ready() const noexcept;
    void await_suspend(std::coroutine_handle<> handle);
    void await_resume() const noexcept {}
};

} // namespace

bool LoopSleep::await_ready() const noexcept {
    return control->cancelled;
}

void LoopSleep::await_suspend(std::coroutine_handle<> handle) {
    control->sleeper = handle;
    std::weak_ptr<HalvorenEngine::LoopControl> weak = control;
    control->sleep = timers.schedule(seconds, [weak] {
        if (auto c = weak.lock()) {
            c->wake();
        }
    });
}

HalvorenEngine::HalvorenEngine(const std::optional<FanProfile>& initialProfile, Environment environment)
    : driver_(environment.driver)
    , timers_(environment.timers)
    , coreCountsSource_(std::move(environment.coreCounts))
    , hidFactory_(std::move(environment.hidFactory))
    , store_(environment.settings)
    , pinnedSensorStore_(environment.settings)
    , spoolRate_(store_.loadSpoolRate())
    , glassFrost_(store_.loadGlassFrost())
    , backdropScene_(store_.loadBackdropScene())
    , controlSource_(store_.loadControlSource())
    , useFahrenheit_(store_.loadUseFahrenheit())
    , preciseTemperatures_(store_.loadPreciseTemperatures())
    , accentChoice_(store_.loadAccentChoice())
    , menuBarReadout_(store_.loadMenuBarReadout())
    , showDockIcon_(store_.loadShowDockIcon())
    , menuBarTempSource_(store_.loadMenuBarTempSource())
    , menuBarIconAnimated_(store_.loadMenuBarIconAnimated())
    , hasCompletedFirstRunSetup_(store_.loadHasCompletedFirstRunSetup())
    , overheatThreshold_(store_.loadOverheatThreshold())
    , fanHealthWarningsEnabled_(store_.loadFanHealthWarningsEnabled())
    , preSpoolEnabled_(store_.loadPreSpoolEnabled())
    , alertRules_(store_.loadAlertRules())
    , presetPowerCaps_(store_.loadPresetPowerCaps())
    , customModes_(store_.loadCustomModes())
    , activeCustomModeID_(store_.loadActiveCustomModeID())
    , quietHoursEnabled_(store_.loadQuietHoursEnabled())
    , quietHoursStart_(store_.loadQuietHoursStart())
    , quietHoursEnd_(store_.loadQuietHoursEnd())
    , meetingQuietEnabled_(store_.loadMeetingQuietEnabled())
    , cooldownDuration_(store_.loadCooldownDuration())
    , supervisor_(environment.driver, environment.timers)
    , powerObserver_(environment.power ? std::move(environment.power) : systemPowerStateObserver())
    , microphone_(environment.microphone ? std::move(environment.microphone) : systemMicActivityMonitor())
    , applications_(environment.applications
                        ? std::move(environment.applications)
                        : std::shared_ptr<ApplicationWatcher>(systemApplicationWatcher(environment.timers)))
    , timeZone_(std::move(environment.timeZone))
    , alerts_(environment.notifications ? std::move(environment.notifications) : systemNotificationCenter(),
              environment.timers.clock()) {
    almanacPath_ = QDir(environment.dataDirectory.value_or(applicationDataDirectory()))
                       .filePath(QString::fromLatin1(ThermalAlmanacStore::fileName));
    poller_ = makePoller(driver_.sharedBridge());
    heatSampler_ = std::make_shared<HeatAttributionSampler>(
        environment.processCPUTimes ? std::move(environment.processCPUTimes) : systemProcessCPUTimes(),
        environment.dataDirectory.value_or(applicationDataDirectory()));
    // No profile or preset is restored: every launch starts with the firmware in control.
    activeProfile_.set(initialProfile);
    pinnedSensorKeys_.set(pinnedSensorStore_.load());

    supervisor_.setStateChangedHandler([this](const HelperState& state) { helperState_.set(state); });
    // The driver calls this from the event loop; it may outlive the engine.
    driver_.setConnectionLossHandler([this, alive = std::weak_ptr<int>(lifetime_)] {
        if (!alive.expired()) {
            supervisor_.helperConnectionLost();
        }
    });
}

HalvorenEngine::~HalvorenEngine() {
    driver_.setConnectionLossHandler({});
    lifetime_.reset();
    cooldownTimer_.cancel();
    dustCycleHoldTimer_.cancel();
    stop();
}

std::shared_ptr<SensorPoller> HalvorenEngine::makePoller(std::shared_ptr<SMCKernelBridge> bridge) const {
    return std::make_shared<SensorPoller>(std::move(bridge), timers_.clock(), hidFactory_);
}

void HalvorenEngine::warmUpInBackground(std::shared_ptr<SensorPoller> poller) {
    // The task holds the poller, which may be replaced before the discovery ends.
    [[maybe_unused]] auto task = [](std::shared_ptr<SensorPoller> held) -> QCoro::Task<void> {
        co_await held->warmUp();
    }(std::move(poller));
}

HalvorenEngine::CoreCounts HalvorenEngine::coreCounts() const {
    if (!coreCounts_) {
        coreCounts_ = coreCountsSource_ ? coreCountsSource_() : hostCoreCounts();
    }
    return *coreCounts_;
}

void HalvorenEngine::start() {
    if (loop_) {
        return;
    }
    // The long key walk runs on the poller's worker ahead of the first poll.
    warmUpInBackground(poller_);
    supervisor_.refreshHelperState();
    startWorkloadWatcher();
    loadAlmanacInBackground();
    // The item has its label before the first pass.
    publishMenuBarLabelState();
    loop_ = std::make_shared<LoopControl>();
    [[maybe_unused]] auto task = runLoop(loop_);
}

void HalvorenEngine::stop() {
    if (!loop_) {
        return;
    }
    const std::shared_ptr<LoopControl> control = std::exchange(loop_, nullptr);
    control->cancelled = true;
    control->sleep.cancel();
    applications_->stop();
    control->wake();
}

QCoro::Task<void> HalvorenEngine::runPowerSlice() {
    const std::weak_ptr<int> alive = lifetime_;
    PowerReading result;
    if (powerReadingCost_->cheap()) {
        // A few attribute files and a cached bus answer: cheaper than two thread hops.
        result = powerReadingCost_->timed([&] { return powerObserver_->reading(); });
    } else {
        // The platform's reads may block; the reader lives as long as the call does. Named, not
        // a temporary of the co_await: g++ 12 destroys such temporaries twice.
        QFuture<PowerReading> reading = QtConcurrent::run(
            QThreadPool::globalInstance(), [observer = powerObserver_, cost = powerReadingCost_] {
                return cost->timed([&] { return observer->reading(); });
            });
        co_await reading;
        if (alive.expired()) {
            co_return;
        }
        result = reading.result();
    }
    setClamshell(result.clamshell);
    updatePowerTelemetry(result.telemetry);
    evaluateQuietHours(timers_.clock().wallNow());
    updateThermalTrend();
    updateWeather();
}

QCoro::Task<void> HalvorenEngine::runMicrophoneSlice() {
    // The microphone is not touched at all while the feature is off.
    if (!meetingQuietEnabled_.value()) {
        evaluateMeetingQuiet(false);
        co_return;
    }
    const std::weak_ptr<int> alive = lifetime_;
    QFuture<bool> inUse = QtConcurrent::run(QThreadPool::globalInstance(), [microphone = microphone_] {
        return microphone->isMicrophoneInUse();
    });
    co_await inUse;
    if (alive.expired()) {
        co_return;
    }
    evaluateMeetingQuiet(inUse.result());
}

double HalvorenEngine::heatSampleDelay() const {
    return powerPanelVisible_ && mainWindowVisible_ ? heatSampleVisibleInterval : heatSampleInterval;
}

QCoro::Task<void> HalvorenEngine::runHeatSlice() {
    const std::weak_ptr<int> alive = lifetime_;
    const Clock::WallTime now = timers_.clock().wallNow();
    // The sampler lives until its sample ends, even if the engine goes meanwhile.
    const std::shared_ptr<HeatAttributionSampler> sampler = heatSampler_;
    HeatSnapshot snapshot = co_await sampler->sample(now, localTime(now));
    if (alive.expired()) {
        co_return;
    }
    heatSources_.set(std::move(snapshot.live));
    dailyHeatSources_.set(std::move(snapshot.daily));
}

QCoro::Task<void> HalvorenEngine::runLoop(std::shared_ptr<LoopControl> control) {
    const std::weak_ptr<int> alive = lifetime_;
    rebuildPipelines();
    // Every slice is due on the first pass. After a long sleep each runs once, not once per
    // missed period.
    double nextPowerPoll = timers_.clock().monotonicNow();
    double nextMicCheck = nextPowerPoll;
    double nextHeatSample = nextPowerPoll;
    while (!control->cancelled) {
        // The poller may be replaced while a poll runs; this one lives until the poll ends.
        const std::shared_ptr<SensorPoller> poller = poller_;
        const SensorPoller::Snapshot snapshot = co_await poller->snapshot();
        if (alive.expired()) {
            co_return;
        }
        apply(snapshot);
        if (!smcAvailable_.value()) {
            attemptSMCReopenFromTick();
        }
        // One reading of the time for every slice of the pass, however long an earlier one took.
        const double loopNow = timers_.clock().monotonicNow();
        if (loopNow >= nextPowerPoll) {
            nextPowerPoll = loopNow + powerPollInterval;
            co_await runPowerSlice();
            if (alive.expired()) {
                co_return;
            }
        }
        if (loopNow >= nextMicCheck) {
            nextMicCheck = loopNow + micCheckInterval;
            co_await runMicrophoneSlice();
            if (alive.expired()) {
                co_return;
            }
        }
        if (loopNow >= nextHeatSample) {
            nextHeatSample = loopNow + heatSampleDelay();
            co_await runHeatSlice();
            if (alive.expired()) {
                co_return;
            }
        }

        if (!manualFanTargets_->empty()) {
            co_await applyManualTick();
        } else if (activeProfile_.value()) {
            // The tick takes its own copy of the profile; a second one here would only add
            // allocations to every pass.
            co_await applyControlTick(*activeProfile_.value(), snapshot.fans);
        }
        if (alive.expired()) {
            co_return;
        }
        co_await applyDustStep();
        if (alive.expired()) {
            co_return;
        }
        recordTelemetry(snapshot);
        publishMenuBarLabelState();
        ++passCount_;
        // A named awaiter: g++ 12 destroys an awaiter temporary that owns a shared_ptr twice,
        // which released the loop's handle early and freed it under the running loop.
        LoopSleep sleep{control, timers_, chooseSleep(snapshot.fans)};
        co_await sleep;
    }
}

double HalvorenEngine::chooseSleep(const std::vector<FanStatus>& snapshotFans) const {
    if (!manualFanTargets_->empty() || isControlling_ || dustCycleStartedAt_) {
        return controlTickInterval;
    }
    if (activeProfile_.value() && activeProfile_.value()->mode != ControlMode::appleAuto) {
        return controlTickInterval;
    }
    // A fan that something forced keeps the fast rhythm until it is released.
    for (const FanStatus& fan : snapshotFans) {
        if (fan.isManaged) {
            return controlTickInterval;
        }
    }
    return idleLoopInterval;
}

} // namespace halvoren
