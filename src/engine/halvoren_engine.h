#pragma once

#include "core/alert_evaluation.h"
#include "core/alert_rules.h"
#include "core/control_pipeline.h"
#include "core/control_source.h"
#include "core/custom_mode.h"
#include "core/device_sensor_map.h"
#include "core/display_settings.h"
#include "core/dust_cycle.h"
#include "core/fan_health_monitor.h"
#include "core/fan_profile.h"
#include "core/fan_status.h"
#include "core/holt_smoother.h"
#include "core/menu_bar_label_state.h"
#include "core/power_telemetry.h"
#include "core/preset_power_caps.h"
#include "core/sensor.h"
#include "core/sensor_selection.h"
#include "core/target_deadband.h"
#include "core/telemetry_store.h"
#include "core/thermal_almanac.h"
#include "core/thermal_trend.h"
#include "core/uuid.h"
#include "core/weather_snapshot.h"
#include "core/workload_policy.h"
#include "engine/alerts_manager.h"
#include "engine/heat_attribution_sampler.h"
#include "engine/helper_state.h"
#include "engine/helper_supervisor.h"
#include "engine/observable.h"
#include "engine/pinned_sensor_store.h"
#include "engine/sensor_poller.h"
#include "engine/settings_store.h"
#include "platform/clock.h"
#include "platform/timer_source.h"

#include <QTimeZone>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <qcoro/qcorotask.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

class QSettings;

namespace halvoren {

class ApplicationWatcher;
class FanDriver;
class MicActivityMonitor;
class NotificationCenter;
class PowerStateObserver;
class ProcessCPUTimes;
class TimerSource;

// The one object that holds the live state of the application, on the main thread. It owns
// the control loop: one coroutine that reads the sensors, works out the control
// temperature, evaluates the active profile and writes fan targets through the helper.
// Views watch its fields; each tells its observers only on a real change.
//
// Its work is split by concern over several source files: lifecycle and the run loop,
// the control tick, profiles and presets, settings, custom modes, helper supervision.
class HalvorenEngine {
public:
    using CoreCounts = DeviceSensorMap::CoreCounts;
    using FanMap = std::map<int, FanStatus>;
    using MenuBarLabelState = ::halvoren::MenuBarLabelState;

    // What the engine runs on. Every collaborator must outlive the engine.
    struct Environment {
        FanDriver& driver;
        TimerSource& timers; // all time, sleeps and debounces go through it
        QSettings& settings; // the user's settings store
        // Asked once, on first use; the machine's performance and efficiency core counts.
        // Empty: the host's own (platform/core_counts.h).
        std::function<CoreCounts()> coreCounts = {};
        // Empty: the platform's own source of HID temperatures.
        SensorPoller::HIDSourceFactory hidFactory = {};
        // Empty: the system's own power state, microphone and running applications.
        std::shared_ptr<PowerStateObserver> power = {};
        std::shared_ptr<MicActivityMonitor> microphone = {};
        std::shared_ptr<ApplicationWatcher> applications = {};
        // Empty: the system's own notifications.
        std::shared_ptr<NotificationCenter> notifications = {};
        // The calendar of the quiet hours and the almanac; empty: the user's own time zone.
        std::optional<QTimeZone> timeZone = {};
        // Where the almanac is kept; empty: the application's data folder.
        std::optional<QString> dataDirectory = {};
        // Empty: the system's own reader of process CPU times (heat attribution).
        std::shared_ptr<ProcessCPUTimes> processCPUTimes = {};
    };

    // The period that slew limiting assumes for one control tick.
    static constexpr double controlTickInterval = 0.1;
    // The loop's sleep while the firmware has every fan.
    static constexpr double idleLoopInterval = 1.0;
    static constexpr double smcReopenDebounce = 5.0;
    // Measured speeds that move less than this publish at most every `fanPublishInterval`.
    static constexpr double fanPublishJitter = 25.0;
    static constexpr double fanPublishInterval = 0.5;
    static constexpr std::size_t sensorHistoryLength = 120;
    static constexpr double defaultAcousticAlpha = 0.35;
    // The slices of the run loop that do not run on every pass.
    static constexpr double powerPollInterval = 1.0;
    static constexpr double micCheckInterval = 10.0;
    // How long a finished or aborted dust cycle stays on show.
    static constexpr double dustCycleResultHold = 1.5;
    // A closed lid keeps the fans at least this far up their range.
    static constexpr double clamshellFloor = 0.1;
    static constexpr std::size_t trendSampleLimit = 150;
    // The heat sample's period while its panel is on screen, and otherwise.
    static constexpr double heatSampleVisibleInterval = 5.0;
    static constexpr double heatSampleInterval = 60.0;

    HalvorenEngine(const std::optional<FanProfile>& initialProfile, Environment environment);
    ~HalvorenEngine();
    HalvorenEngine(const HalvorenEngine&) = delete;
    HalvorenEngine& operator=(const HalvorenEngine&) = delete;

    // Starts the helper refresh and the control loop; does nothing while the loop runs.
    void start();
    // Ends the loop at its next await (at once when it sleeps). Writes nothing to the fans:
    // handing them back at exit is the driver's exit hook and the helper's job.
    void stop();
    bool isRunning() const { return static_cast<bool>(loop_); }

    // --- Observed state -------------------------------------------------------------------
    const Observable<std::vector<SMCSensor>>& availableSensors() const { return availableSensors_; }
    const Observable<std::vector<SMCSensor>>& allSensors() const { return allSensors_; }
    const Observable<bool>& hasDiscoveredSensors() const { return hasDiscoveredSensors_; }
    const Observable<bool>& controlSourceUnavailable() const { return controlSourceUnavailable_; }
    const Observable<FanMap>& fans() const { return fans_; }
    const Observable<std::optional<FanProfile>>& activeProfile() const { return activeProfile_; }
    const Observable<std::optional<FanPreset>>& activePreset() const { return activePreset_; }
    const Observable<HelperState>& helperState() const { return helperState_; }
    const Observable<bool>& smcAvailable() const { return smcAvailable_; }
    const Observable<PowerTelemetry>& powerTelemetry() const { return powerTelemetry_; }
    const Observable<std::optional<std::string>>& lastError() const { return lastError_; }
    const Observable<std::map<int, double>>& manualFanTargets() const { return manualFanTargets_; }
    const Observable<std::optional<SMCSensor>>& cachedMenuBarHottestSensor() const {
        return cachedMenuBarHottestSensor_;
    }
    const Observable<double>& controlTemperature() const { return controlTemperature_; }
    const Observable<std::vector<DeviceSensorReading>>& deviceSensors() const { return deviceSensors_; }
    const Observable<std::vector<DeviceSensorReading>>& deviceSensorsDisplay() const {
        return deviceSensorsDisplay_;
    }
    const Observable<std::map<std::string, std::vector<double>>>& sensorHistory() const {
        return sensorHistory_;
    }
    const Observable<double>& displayedTemperature() const { return displayedTemperature_; }
    const Observable<double>& heroDisplayTemperature() const { return heroDisplayTemperature_; }
    const Observable<bool>& isOverheating() const { return isOverheating_; }
    const Observable<bool>& isTurboEngaged() const { return isTurboEngaged_; }
    const Observable<bool>& meetingQuietActive() const { return meetingQuietActive_; }
    // Quiet hours have put the fans on Quiet and will restore what was before.
    bool quietHoursActive() const { return hasQuietHoursMemory_; }
    const Observable<std::set<std::string>>& pinnedSensorKeys() const { return pinnedSensorKeys_; }
    const Observable<bool>& isClamshell() const { return isClamshell_; }
    // The floor the heavy applications now running ask for, 0 ... 1.
    const Observable<double>& processWorkloadImpact() const { return processWorkloadImpact_; }
    // The wall-clock end of the running cooldown.
    const Observable<std::optional<Clock::WallTime>>& cooldownEndDate() const { return cooldownEndDate_; }
    bool isCoolingDown() const { return cooldownEndDate_->has_value(); }
    const Observable<DustCycleUIState>& dustCycleState() const { return dustCycleState_; }
    bool isDustCycleRunning() const { return dustCycleStartedAt_.has_value(); }
    const Observable<ThermalTrend>& thermalTrend() const { return thermalTrend_; }
    const Observable<ForecastChipState>& forecastChip() const { return forecastChip_; }
    // The last minute, one sample per sensor sweep.
    const TelemetryStore& telemetry() const { return telemetry_; }
    const Observable<WeatherSnapshot>& weatherSnapshot() const { return weatherSnapshot_; }
    // The fastest fan's place in its range, 0 ... 1; 0 without fans.
    double menuBarFanFraction() const;

    // --- The menu-bar item -------------------------------------------------------------------
    // What the item shows; told only when something on it changed.
    const Observable<MenuBarLabelState>& menuBarLabelModel() const { return menuBarLabelModel_; }
    // `displayedTemperature` in the user's unit, or "--" without a reading.
    std::string menuBarTemperatureText() const;
    // The fastest fan's whole RPM, or "--" without fans.
    std::string menuBarFanText() const;
    // How fast the icon turns: 0 (still) up to 5, a fifth of the fan range each.
    static int menuBarSpinTier(double fanFraction);
    // A short word for where `displayedTemperature` comes from ("CPU", "GPU", "Hottest"...).
    std::string displayedTemperatureSourceLabel() const;
    // Rebuilds the label and publishes it if it differs; once per pass of the run loop.
    void publishMenuBarLabelState();
    // The present warning of each fan that is failing to follow its command.
    const Observable<std::map<int, FanHealthMonitor::Warning>>& fanHealthWarnings() const {
        return fanHealthWarnings_;
    }

    // --- Settings: each setter stores the value at once and runs the field's change handler -
    const Observable<double>& acousticAlpha() const { return acousticAlpha_; }
    const Observable<double>& spoolRate() const { return spoolRate_; }
    const Observable<bool>& autoSwitchOnBattery() const { return autoSwitchOnBattery_; }
    const Observable<double>& glassFrost() const { return glassFrost_; }
    const Observable<BackdropScene>& backdropScene() const { return backdropScene_; }
    const Observable<ControlSource>& controlSource() const { return controlSource_; }
    const Observable<bool>& useFahrenheit() const { return useFahrenheit_; }
    const Observable<bool>& preciseTemperatures() const { return preciseTemperatures_; }
    const Observable<AccentChoice>& accentChoice() const { return accentChoice_; }
    const Observable<MenuBarReadout>& menuBarReadout() const { return menuBarReadout_; }
    const Observable<bool>& showDockIcon() const { return showDockIcon_; }
    const Observable<MenuBarTempSource>& menuBarTempSource() const { return menuBarTempSource_; }
    const Observable<bool>& menuBarIconAnimated() const { return menuBarIconAnimated_; }
    const Observable<bool>& hasCompletedFirstRunSetup() const { return hasCompletedFirstRunSetup_; }
    const Observable<double>& overheatThreshold() const { return overheatThreshold_; }
    const Observable<bool>& fanHealthWarningsEnabled() const { return fanHealthWarningsEnabled_; }
    const Observable<bool>& preSpoolEnabled() const { return preSpoolEnabled_; }
    const Observable<AlertRules>& alertRules() const { return alertRules_; }
    const Observable<PresetPowerCapsMap>& presetPowerCaps() const { return presetPowerCaps_; }
    const Observable<std::vector<CustomMode>>& customModes() const { return customModes_; }
    const Observable<std::optional<Uuid>>& activeCustomModeID() const { return activeCustomModeID_; }
    const Observable<bool>& quietHoursEnabled() const { return quietHoursEnabled_; }
    const Observable<int>& quietHoursStart() const { return quietHoursStart_; }
    const Observable<int>& quietHoursEnd() const { return quietHoursEnd_; }
    const Observable<bool>& meetingQuietEnabled() const { return meetingQuietEnabled_; }
    const Observable<double>& cooldownDuration() const { return cooldownDuration_; }

    // Not stored: every launch starts at 0.35. Every assignment, even of the same value,
    // restarts the smoothing and clears the deadbands.
    void setAcousticAlpha(double alpha);
    void setSpoolRate(double rpmPerSecond);
    void setAutoSwitchOnBattery(bool value);
    void setGlassFrost(double frost);
    void setBackdropScene(BackdropScene scene);
    void setControlSource(ControlSource source);
    void setUseFahrenheit(bool value);
    void setPreciseTemperatures(bool value);
    void setAccentChoice(AccentChoice choice);
    void setMenuBarReadout(MenuBarReadout readout);
    void setShowDockIcon(bool value);
    void setMenuBarTempSource(MenuBarTempSource source);
    void setMenuBarIconAnimated(bool value);
    void setHasCompletedFirstRunSetup(bool value);
    void setOverheatThreshold(double celsius);
    void setFanHealthWarningsEnabled(bool value);
    void setPreSpoolEnabled(bool value);
    void setAlertRules(AlertRules rules);
    void setQuietHoursEnabled(bool value);
    void setQuietHoursStart(int minuteOfDay);
    void setQuietHoursEnd(int minuteOfDay);
    void setMeetingQuietEnabled(bool value);
    void setCooldownDuration(double seconds);
    // The Settings view's Restore Defaults, in its fixed order, with no confirmation.
    void restoreDefaults();

    // --- Profiles and presets --------------------------------------------------------------
    void selectProfile(const FanProfile& profile);
    void selectPreset(FanPreset preset);
    // A nil argument leaves that cap as it is; the others are clamped to 0 ... 1.
    void setPresetCap(FanPreset preset, std::optional<double> ac, std::optional<double> battery);
    void resetPresetPowerCaps();
    // Every fan at one speed ("Manual Lock"); nothing happens while no fan is known.
    void setConstantRPM(std::int64_t rpm);
    // What drives the fans, in words; " (fan writes failing)" is added while the program should
    // drive them and its last push failed.
    std::string drivingStatusSubtitle() const;

    // --- Manual control and Turbo -------------------------------------------------------------
    // Holds every fan at its measured speed by hand; ends Turbo and a cooldown with no restore.
    void enterManualControl();
    // Enters manual control first if needed; a fan that is not known is ignored. Not clamped
    // here: the limits apply at the write.
    void setFanTarget(int fan, double rpm);
    double manualTarget(int fan) const;
    bool isManualControl() const { return !manualFanTargets_->empty(); }
    // Every fan at its maximum until disengaged; remembers what it replaced.
    void engageTurbo();
    // Back to what Turbo replaced, or to the firmware when a quiet automation's memory of it
    // went stale while Turbo ran.
    void disengageTurbo();

    // --- Analytics ----------------------------------------------------------------------------
    // The last minute of history as CSV in the temporary directory, written atomically; its
    // path, or none with `lastError` saying why.
    std::optional<std::string> exportHistoryCSV();
    // The same text at `path`; false with `lastError` set when it cannot be written.
    bool writeHistoryCSV(const std::string& path);
    // The hottest reading, the fastest fan and the draws of a fresh sweep, into the history.
    void recordTelemetry(const SensorPoller::Snapshot& snapshot);
    // One sample of the hottest reading into the two-minute fit; once a second.
    void updateThermalTrend();
    // The smoothed control temperature, the almanac and the forecast; once a second.
    void updateWeather();
    // The one piece of work for the program's end: the almanac is written at once, if it was
    // ever read, so a file not read yet is never replaced by an empty one.
    void prepareForTermination();
    bool isAlmanacLoaded() const { return weatherAlmanacLoaded_; }
    const ThermalAlmanac& almanac() const { return weatherAlmanac_; }

    // --- Alerts ---------------------------------------------------------------------------------
    // The overheat and rule alerts; its banner is what the window shows when notifications
    // cannot be used.
    AlertsManager& alerts() { return alerts_; }
    const AlertsManager& alerts() const { return alerts_; }
    // A missing argument keeps that field of the category's rule; the rules are stored.
    void setAlertRule(SensorCategory category, std::optional<bool> enabled,
                      std::optional<double> thresholdCelsius, std::optional<bool> autoBoost);
    void resetAlertRules();
    // Each enabled rule against the hottest sensor of its category: alerts on the rising edge,
    // and an auto-boost rule holds Turbo while it is triggered. A Turbo the user engaged is
    // never ended here.
    void evaluateAlertRules(const std::vector<SMCSensor>& sensors);
    // --- Heat attribution ---------------------------------------------------------------------
    // The applications that used the most CPU in the last interval, and so far today.
    const Observable<std::vector<HeatSource>>& heatSources() const { return heatSources_; }
    const Observable<std::vector<HeatSource>>& dailyHeatSources() const { return dailyHeatSources_; }
    // Set by the views: heat is sampled often only while the power panel is on screen.
    void setPowerPanelVisible(bool visible) { powerPanelVisible_ = visible; }
    void setMainWindowVisible(bool visible) { mainWindowVisible_ = visible; }

    // --- Cooldown and dust cycle --------------------------------------------------------------
    // Turbo for `cooldownDuration` seconds (or `seconds`), then back; nothing while one runs.
    void startCooldown();
    void startCooldown(double seconds);
    void cancelCooldown();
    void startDustCycle();
    // Also the normal end: restores what was active at the start, whatever came meanwhile.
    void cancelDustCycle();

    // --- Quiet hours and meeting quiet ----------------------------------------------------------
    void evaluateQuietHours(Clock::WallTime now);
    void evaluateMeetingQuiet(bool micInUse);

    // --- Power, lid and workload ------------------------------------------------------------------
    void setClamshell(bool closed);
    // The new power state. A change between battery and not battery re-applies the active
    // preset with the caps of the new source; a plain profile gives way to `silentStealth`
    // on battery and comes back on mains.
    void updatePowerTelemetry(const PowerTelemetry& telemetry);
    // The heavy applications now running; their largest boost is a floor for the fans.
    void setWorkload(WorkloadPolicy policy);

    // --- Custom modes ------------------------------------------------------------------------
    void addCustomMode(const CustomMode& mode);
    void updateCustomMode(const CustomMode& mode);
    // Deleting the active mode moves the fans to the Balanced preset.
    void deleteCustomMode(const Uuid& id);
    void selectCustomMode(const Uuid& id);
    std::optional<CustomMode> activeCustomMode() const;
    std::optional<double> temperature(const ModeSensor& sensor) const;

    // --- Sensors ---------------------------------------------------------------------------
    // The stored values for a device reading, oldest first; empty if none.
    std::vector<double> history(const std::string& id) const;
    bool isPinned(const std::string& key) const { return pinnedSensorKeys_->contains(key); }
    // Pins an unpinned sensor and unpins a pinned one, then stores the whole set, which
    // replaces whatever was stored before, unreadable data included.
    void togglePin(const std::string& key);

    // --- Helper supervision ----------------------------------------------------------------
    void refreshHelperState();
    void installHelper();
    void uninstallHelper();
    void openHelperApproval();

    // --- The control path, public for the run loop's tests ------------------------------------
    void apply(const SensorPoller::Snapshot& snapshot);
    QCoro::Task<void> applyControlTick(FanProfile profile, std::vector<FanStatus> snapshotFans);
    QCoro::Task<void> applyManualTick();
    // Pairs of fan id and desired RPM, written in order.
    QCoro::Task<void> pushTargets(std::vector<std::pair<int, double>> targets);
    QCoro::Task<void> restoreAuto();
    // The dust step of a pass: pushes the cycle's targets or ends it.
    QCoro::Task<void> applyDustStep();
    double effectiveFloor() const;
    bool isControlling() const { return isControlling_; }
    const std::map<int, double>& rampedTargets() const { return rampedTargets_; }
    const HelperSupervisor& supervisor() const { return supervisor_; }
    // The number of completed passes of the run loop since the engine was made.
    std::uint64_t passCount() const { return passCount_; }

    // The running loop's handle; opaque outside the engine.
    struct LoopControl;

private:
    QCoro::Task<void> runLoop(std::shared_ptr<LoopControl> control);
    // One pass of the loop, without its sleep; returns the sleep it chose.
    QCoro::Task<double> runPass(std::shared_ptr<LoopControl> control);
    double chooseSleep(const std::vector<FanStatus>& snapshotFans) const;

    void refreshDerivedSensorState(bool recordHistory);
    void refreshHeroDisplayTemperature();
    void appendSensorHistory(const std::vector<DeviceSensorReading>& readings);
    void refreshDeviceSensorsDisplay();
    double rampedTarget(int fan, double desired);
    void rebuildPipelines();
    ControlPipeline makePipeline(const FanProfile& profile) const;
    std::optional<double> readingValue(const ModeSensor& sensor,
                                       const std::vector<DeviceSensorReading>& readings) const;
    CoreCounts coreCounts() const;
    // Shown to the user once it differs from the present text.
    void setLastError(std::string text);

    void applyProfile(const FanProfile& profile);
    // Back to a remembered preset, else to a remembered profile, else to the firmware.
    void restorePolicy(std::optional<FanPreset> preset, const std::optional<FanProfile>& profile);
    void clearCooldownState();
    void finishCooldown(std::uint64_t generation);
    void applyBatterySwitch();
    // The one-second and ten-second slices of the run loop.
    QCoro::Task<void> runPowerSlice();
    QCoro::Task<void> runMicrophoneSlice();
    // The heat slice: one sample, then the next one's delay.
    QCoro::Task<void> runHeatSlice();
    double heatSampleDelay() const;
    void startWorkloadWatcher();
    void publishThermalTrend(const ThermalTrend& trend);
    void recordSweep(const SensorPoller::Snapshot& snapshot);
    void evaluateFanHealth(const std::vector<FanStatus>& fans);
    int minuteOfDay(Clock::WallTime now) const;
    // The wall time as the user's calendar shows it.
    std::chrono::local_seconds localTime(Clock::WallTime now) const;
    void loadAlmanacInBackground();
    static bool isTurboProfile(const FanProfile& profile);
    void presetPowerCapsChanged();

    void attemptSMCReopenFromTick();
    QCoro::Task<void> reopenSMCBridgeIfPossible();
    std::shared_ptr<SensorPoller> makePoller(std::shared_ptr<SMCKernelBridge> bridge) const;
    // Runs the discovery on the poller's worker, ahead of its first poll.
    static void warmUpInBackground(std::shared_ptr<SensorPoller> poller);

    void persistCustomModes();
    void setActiveCustomModeID(std::optional<Uuid> id);

    FanDriver& driver_;
    TimerSource& timers_;
    std::function<CoreCounts()> coreCountsSource_;
    SensorPoller::HIDSourceFactory hidFactory_;
    SettingsStore store_;
    PinnedSensorStore pinnedSensorStore_;
    // Tasks started here hold it weakly and stop when the engine is gone.
    std::shared_ptr<int> lifetime_ = std::make_shared<int>(0);

    Observable<std::vector<SMCSensor>> availableSensors_;
    Observable<std::vector<SMCSensor>> allSensors_;
    Observable<bool> hasDiscoveredSensors_{false};
    Observable<bool> controlSourceUnavailable_{false};
    Observable<FanMap> fans_;
    Observable<std::optional<FanProfile>> activeProfile_;
    Observable<std::optional<FanPreset>> activePreset_;
    Observable<HelperState> helperState_{HelperState::notRegistered()};
    Observable<bool> smcAvailable_{false};
    Observable<PowerTelemetry> powerTelemetry_;
    Observable<bool> autoSwitchOnBattery_{true};
    Observable<std::optional<std::string>> lastError_;
    Observable<double> acousticAlpha_{defaultAcousticAlpha};
    std::optional<double> lastFanPublish_;
    Observable<double> spoolRate_;
    Observable<double> glassFrost_;
    Observable<BackdropScene> backdropScene_;
    std::map<int, double> rampedTargets_;
    Observable<std::map<int, double>> manualFanTargets_;
    Observable<ControlSource> controlSource_;
    Observable<bool> useFahrenheit_;
    Observable<bool> preciseTemperatures_;
    Observable<AccentChoice> accentChoice_;
    Observable<MenuBarReadout> menuBarReadout_;
    Observable<bool> showDockIcon_;
    Observable<MenuBarTempSource> menuBarTempSource_;
    Observable<bool> menuBarIconAnimated_;
    Observable<bool> hasCompletedFirstRunSetup_;
    Observable<std::optional<SMCSensor>> cachedMenuBarHottestSensor_;
    Observable<MenuBarLabelState> menuBarLabelModel_;
    // How long each of `availableSensors_` has held its value, for telling parked cores.
    SensorSelection::ReadingHistory readingHistory_;
    Observable<double> controlTemperature_{0.0};
    Observable<std::vector<DeviceSensorReading>> deviceSensors_;
    Observable<std::vector<DeviceSensorReading>> deviceSensorsDisplay_;
    Observable<std::map<std::string, std::vector<double>>> sensorHistory_;
    Observable<double> displayedTemperature_{0.0};
    Observable<double> heroDisplayTemperature_{0.0};
    Observable<double> overheatThreshold_;
    Observable<bool> isOverheating_{false};
    double lastMaxTempSample_ = 0.0;
    Observable<bool> fanHealthWarningsEnabled_;
    Observable<bool> preSpoolEnabled_;
    Observable<bool> isTurboEngaged_{false};
    Observable<AlertRules> alertRules_;
    Observable<std::set<std::string>> pinnedSensorKeys_;
    std::shared_ptr<SensorPoller> poller_;
    std::optional<ControlPipeline> pipeline_;
    std::map<int, TargetDeadband> deadbands_;
    std::shared_ptr<LoopControl> loop_;
    Observable<PresetPowerCapsMap> presetPowerCaps_;
    Observable<std::vector<CustomMode>> customModes_;
    Observable<std::optional<Uuid>> activeCustomModeID_;
    Observable<bool> quietHoursEnabled_;
    Observable<int> quietHoursStart_;
    Observable<int> quietHoursEnd_;
    Observable<bool> meetingQuietEnabled_;
    Observable<bool> meetingQuietActive_{false};
    Observable<double> cooldownDuration_;
    HelperSupervisor supervisor_;
    std::optional<double> lastSMCReopenAttempt_;
    mutable std::optional<CoreCounts> coreCounts_;
    std::uint64_t passCount_ = 0;

    // Platform services; the two readers are used from worker threads, one call at a time.
    std::shared_ptr<PowerStateObserver> powerObserver_;
    // What the last power reading cost: a cheap one runs on this thread.
    std::shared_ptr<CostGate> powerReadingCost_ = std::make_shared<CostGate>();
    std::shared_ptr<MicActivityMonitor> microphone_;
    std::shared_ptr<ApplicationWatcher> applications_;
    std::optional<QTimeZone> timeZone_;
    // The zone's offset from UTC in the minute it was asked for.
    struct LocalOffset {
        std::int64_t minute = 0;
        int seconds = 0;
    };
    mutable std::optional<LocalOffset> localOffset_;

    // Turbo and what it replaced.
    std::optional<FanProfile> profileBeforeTurbo_;
    std::optional<FanPreset> presetBeforeTurbo_;
    std::set<SensorCategory> autoBoostHolders_;

    // Quiet hours.
    std::optional<FanPreset> presetBeforeQuietHours_;
    std::optional<FanProfile> profileBeforeQuietHours_;
    // Meeting quiet.
    std::optional<FanPreset> presetBeforeMeeting_;
    std::optional<FanProfile> profileBeforeMeeting_;

    // Power, lid and workload.
    std::optional<FanProfile> profileBeforeBattery_;
    Observable<bool> isClamshell_{false};
    double clamshellBoost_ = 0.0;
    WorkloadPolicy workload_;
    Observable<double> processWorkloadImpact_{0.0};

    // Analytics.
    TelemetryStore telemetry_;
    FanHealthMonitor fanHealth_;
    Observable<std::map<int, FanHealthMonitor::Warning>> fanHealthWarnings_;
    std::vector<TrendSample> trendSamples_;
    HoltSmoother weatherSmoother_{0.35, 0.1};
    Observable<WeatherSnapshot> weatherSnapshot_{WeatherSnapshot::placeholder()};
    QString almanacPath_;
    ThermalAlmanac weatherAlmanac_;
    std::optional<double> lastAlmanacSave_; // monotonic
    Observable<ThermalTrend> thermalTrend_{ThermalTrend::steady()};
    Observable<ForecastChipState> forecastChip_{forecastChipState(ThermalTrend::steady())};

    // Alerts: the result of each rule's last evaluation.
    AlertsManager alerts_;
    RuleTriggerState ruleTriggerState_;
    // Heat attribution.
    std::shared_ptr<HeatAttributionSampler> heatSampler_;
    Observable<std::vector<HeatSource>> heatSources_;
    Observable<std::vector<HeatSource>> dailyHeatSources_;
    bool powerPanelVisible_ = false;
    bool mainWindowVisible_ = false;

    // Cooldown: a timer whose generation must still be current when it fires.
    Observable<std::optional<Clock::WallTime>> cooldownEndDate_;
    TimerHandle cooldownTimer_;
    std::uint64_t cooldownGeneration_ = 0;

    // Dust cycle: running exactly while the start instant (monotonic) is set.
    Observable<DustCycleUIState> dustCycleState_;
    std::optional<double> dustCycleStartedAt_;
    std::optional<FanProfile> profileBeforeDustCycle_;
    std::optional<FanPreset> presetBeforeDustCycle_;
    TimerHandle dustCycleHoldTimer_;

    // Flags together, so the object carries no padding between them: the loop's, then Turbo's
    // memory of the quiet automations, then the two quiet machines' (`wasInQuietWindow_` is
    // empty until a window has been seen).
    bool isControlling_ = false;
    bool isSMCReopenInFlight_ = false;
    bool turboPreemptedQuietHours_ = false;
    bool turboPreemptedMeetingQuiet_ = false;
    bool turboEngagedByAutoBoost_ = false;
    std::optional<bool> wasInQuietWindow_;
    bool hasQuietHoursMemory_ = false;
    bool quietHoursOverriddenThisWindow_ = false;
    bool micWasInUse_ = false;
    bool hasMeetingQuietMemory_ = false;
    bool meetingQuietOverriddenThisMeeting_ = false;
    bool weatherAlmanacLoaded_ = false;
};

} // namespace halvoren
