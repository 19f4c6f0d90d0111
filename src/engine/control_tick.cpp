#include "core/clamp.h"
#include "core/fan_curve.h"
#include "core/menu_bar_item_renderer.h"
#include "core/sensor_selection.h"
#include "core/slew_limiter.h"
#include "core/temperature_format.h"
#include "engine/fan_driver.h"
#include "engine/halvoren_engine.h"
#include "platform/timer_source.h"

#include <cmath>
#include <limits>

namespace halvoren {
namespace {

// The curve for a profile with fewer than two points.
FanCurve lastResortCurve() {
    return FanCurve({CurvePoint::make(40.0, 0.2), CurvePoint::make(90.0, 1.0)});
}

// Only measured speed may have moved, and by less than the jitter allowance.
bool onlyJitterChanged(const HalvorenEngine::FanMap& fresh, const HalvorenEngine::FanMap& old) {
    if (fresh.size() != old.size()) {
        return false;
    }
    for (const auto& [id, fan] : fresh) {
        const auto it = old.find(id);
        if (it == old.end()) {
            return false;
        }
        const FanStatus& before = it->second;
        if (fan.minRPM != before.minRPM || fan.maxRPM != before.maxRPM || fan.targetRPM != before.targetRPM ||
            fan.isManaged != before.isManaged ||
            !(std::abs(fan.currentRPM - before.currentRPM) < HalvorenEngine::fanPublishJitter)) {
            return false;
        }
    }
    return true;
}

} // namespace

void HalvorenEngine::apply(const SensorPoller::Snapshot& snapshot) {
    smcAvailable_.set(snapshot.smcAvailable);
    if (snapshot.sensorsRefreshed) {
        availableSensors_.set(snapshot.temperatures);
        allSensors_.set(snapshot.allSensors);
        hasDiscoveredSensors_.set(!allSensors_->empty());
        readingHistory_.record(availableSensors_.value(), timers_.clock().monotonicNow());
        refreshDerivedSensorState(true);
        cachedMenuBarHottestSensor_.set(
            MenuBarItemRenderer::hottestSensor(availableSensors_.value(), readingHistory_));
    }

    driver_.observeFans(snapshot.fans);
    FanMap fresh;
    for (const FanStatus& fan : snapshot.fans) {
        fresh.insert_or_assign(fan.id, fan);
    }
    const double now = timers_.clock().monotonicNow();
    if (fresh == fans_.value()) {
        return;
    }
    // Speeds jitter; the views need them only twice a second, but any other change at once.
    if (onlyJitterChanged(fresh, fans_.value()) && lastFanPublish_ &&
        now - *lastFanPublish_ < fanPublishInterval) {
        return;
    }
    fans_.set(std::move(fresh));
    lastFanPublish_ = now;
}

std::optional<double> HalvorenEngine::readingValue(const ModeSensor& sensor,
                                                   const std::vector<DeviceSensorReading>& readings) const {
    if (const std::optional<ControlSource> source = sensor.controlSource()) {
        return DeviceSensorMap::aggregate(*source, availableSensors_.value(), coreCounts(), readingHistory_);
    }
    const std::string id = sensor.sensorID().value_or(std::string{});
    for (const DeviceSensorReading& reading : readings) {
        if (reading.id == id) {
            return reading.value;
        }
    }
    return std::nullopt;
}

std::optional<double> HalvorenEngine::temperature(const ModeSensor& sensor) const {
    return readingValue(sensor, deviceSensors_.value());
}

void HalvorenEngine::refreshDerivedSensorState(bool recordHistory) {
    const std::vector<SMCSensor>& sensors = availableSensors_.value();
    const CoreCounts counts = coreCounts();
    {
        std::vector<DeviceSensorReading> fresh = DeviceSensorMap::fixedList(sensors, counts);
        if (recordHistory) {
            appendSensorHistory(fresh);
        }
        deviceSensors_.set(std::move(fresh));
    }
    const std::vector<DeviceSensorReading>& readings = deviceSensors_.value();
    refreshDeviceSensorsDisplay();

    const std::optional<CustomMode> mode = activeCustomMode();
    // The user's control source, whatever a custom mode follows.
    const std::optional<double> sourceReading =
        DeviceSensorMap::aggregate(controlSource_.value(), sensors, counts, readingHistory_);
    const std::optional<double> control = mode ? readingValue(mode->controlSensor, readings) : sourceReading;
    const std::optional<double> trustedMax = SensorSelection::trustedMaxTemperature(sensors, readingHistory_);
    controlSourceUnavailable_.set(!control.has_value());
    controlTemperature_.set(control.value_or(trustedMax.value_or(0.0)));

    const double sourceTemperature = sourceReading.value_or(trustedMax.value_or(0.0));
    double displayed = 0.0;
    if (mode && mode->drivesMainReadout) {
        displayed = readingValue(mode->displaySensor.value_or(mode->controlSensor), readings)
                        .value_or(trustedMax.value_or(0.0));
    } else if (const std::optional<ControlSource> source = aggregate(menuBarTempSource_.value())) {
        displayed = DeviceSensorMap::aggregate(*source, sensors, counts, readingHistory_)
                        .value_or(trustedMax.value_or(0.0));
    } else {
        displayed = sourceTemperature;
    }
    displayedTemperature_.set(displayed);
    refreshHeroDisplayTemperature();
}

void HalvorenEngine::refreshHeroDisplayTemperature() {
    heroDisplayTemperature_.set(TemperatureFormat::rounded(
        displayedTemperature_.value(), useFahrenheit_.value(), preciseTemperatures_.value()));
}

void HalvorenEngine::appendSensorHistory(const std::vector<DeviceSensorReading>& readings) {
    sensorHistory_.modify([&](std::map<std::string, std::vector<double>>& history) {
        bool appended = false;
        for (const DeviceSensorReading& reading : readings) {
            if (!reading.value) {
                continue;
            }
            appended = true;
            std::vector<double>& values = history[reading.id];
            values.push_back(*reading.value);
            if (values.size() > sensorHistoryLength) {
                values.erase(values.begin(), values.end() - static_cast<std::ptrdiff_t>(sensorHistoryLength));
            }
        }
        return appended;
    });
}

std::vector<double> HalvorenEngine::history(const std::string& id) const {
    const auto it = sensorHistory_->find(id);
    return it == sensorHistory_->end() ? std::vector<double>{} : it->second;
}

void HalvorenEngine::refreshDeviceSensorsDisplay() {
    const std::vector<DeviceSensorReading>& now = deviceSensors_.value();
    const std::vector<DeviceSensorReading>& shown = deviceSensorsDisplay_.value();
    const bool fahrenheit = useFahrenheit_.value();
    const bool precise = preciseTemperatures_.value();
    bool differs = now.size() != shown.size();
    for (std::size_t i = 0; !differs && i < now.size(); ++i) {
        const DeviceSensorReading& a = now[i];
        const DeviceSensorReading& b = shown[i];
        differs = a.id != b.id || a.value.has_value() != b.value.has_value() ||
                  (a.value && TemperatureFormat::rounded(*a.value, fahrenheit, precise) !=
                                  TemperatureFormat::rounded(*b.value, fahrenheit, precise));
    }
    // Rows redraw only for changes the user can see.
    if (differs) {
        deviceSensorsDisplay_.set(now);
    }
}

QCoro::Task<void> HalvorenEngine::applyControlTick(FanProfile profile, std::vector<FanStatus> snapshotFans) {
    if (helperState_->kind() != HelperState::Kind::connected) {
        supervisor_.refreshHelperStateFromTick();
        co_return;
    }
    switch (profile.mode) {
    case ControlMode::appleAuto: {
        // Firmware control is re-asserted while any fan is forced, whoever forced it.
        const bool anyManaged =
            std::ranges::any_of(snapshotFans, [](const FanStatus& fan) { return fan.isManaged; });
        if (isControlling_ || anyManaged) {
            co_await restoreAuto();
        }
        co_return;
    }
    case ControlMode::constantRPM: {
        std::vector<std::pair<int, double>> targets;
        targets.reserve(snapshotFans.size());
        for (const FanStatus& fan : snapshotFans) {
            targets.emplace_back(fan.id, static_cast<double>(profile.constantTargetRPM));
        }
        co_await pushTargets(std::move(targets));
        co_return;
    }
    case ControlMode::adaptiveCurve:
        break;
    }

    const double t = controlTemperature_.value();
    if (!pipeline_) {
        pipeline_ = makePipeline(profile);
    }
    // Updated in place: a copy would reallocate the curve's points on every tick.
    ControlPipeline& p = *pipeline_;
    p.proactiveFloor = effectiveFloor();
    const std::optional<CustomMode> mode = activeCustomMode();
    p.fixedOverride = mode && mode->speed.kind() == ModeSpeed::Kind::fixed
                          ? std::optional<double>(mode->speed.percentage())
                          : std::nullopt;
    const double fraction = p.targetPercentage(t);

    std::vector<std::pair<int, double>> targets;
    targets.reserve(snapshotFans.size());
    for (const FanStatus& fan : snapshotFans) {
        // A limit whose read failed comes as 0, which leaves no range to place the curve's
        // fraction in: the fan keeps its last target until its limits read again.
        if (!(fan.maxRPM > 0.0 && fan.minRPM <= fan.maxRPM)) {
            continue;
        }
        const double rpm = ControlPipeline::percentageToRPM(fraction, fan.minRPM, fan.maxRPM);
        const double committed = deadbands_[fan.id].commit(rpm);
        targets.emplace_back(fan.id, committed);
    }
    co_await pushTargets(std::move(targets));
}

QCoro::Task<void> HalvorenEngine::applyManualTick() {
    if (helperState_->kind() != HelperState::Kind::connected) {
        supervisor_.refreshHelperStateFromTick();
        co_return;
    }
    std::vector<std::pair<int, double>> targets(manualFanTargets_->begin(), manualFanTargets_->end());
    co_await pushTargets(std::move(targets));
}

QCoro::Task<void> HalvorenEngine::pushTargets(std::vector<std::pair<int, double>> targets) {
    const std::weak_ptr<int> alive = lifetime_;
    bool failed = false;
    bool timedOut = false;
    // Only a failure of the link itself asks for the helper's state again. A refusal the
    // helper sent, or one the driver made before sending, proves nothing about the link, and
    // asking after each would handshake every few seconds for as long as a fan cannot be forced.
    bool linkFailed = false;
    for (const auto& [fan, desired] : targets) {
        const double rpm = rampedTarget(fan, desired);
        std::optional<DriverFailure> failure;
        double applied = 0.0;
        try {
            applied = co_await driver_.setTargetRPM(fan, rpm);
        } catch (const DriverFailure& error) {
            failure = error;
        }
        if (alive.expired()) {
            co_return;
        }
        if (!failure) {
            rampedTargets_[fan] = applied;
            isControlling_ = true;
            continue;
        }
        if (failure->is(DriverError::timedOut)) {
            // Each further fan would wait out its own timeout in this same tick.
            setLastError("write failed: fan-control helper timed out");
            timedOut = true;
            break;
        }
        setLastError("write failed: " + failure->message());
        failed = true;
        linkFailed =
            linkFailed || (failure->domain() != helperErrorDomain && failure->domain() != driverErrorDomain);
    }
    if (!failed && !timedOut) {
        const std::optional<std::string>& error = lastError_.value();
        if (error && (error->starts_with("write failed") || error->starts_with("restore failed"))) {
            lastError_.set(std::nullopt);
        }
        co_return;
    }
    if (timedOut || linkFailed) {
        supervisor_.refreshHelperStateFromTick();
    }
}

double HalvorenEngine::rampedTarget(int fan, double desired) {
    const double rate = spoolRate_.value() >= SettingsStore::spoolRateInstant
                            ? std::numeric_limits<double>::infinity()
                            : spoolRate_.value();
    if (!(std::isfinite(rate) && rate > 0.0)) {
        rampedTargets_[fan] = desired;
        return desired;
    }
    double current = desired;
    if (const auto ramp = rampedTargets_.find(fan); ramp != rampedTargets_.end()) {
        current = ramp->second;
    } else if (const auto measured = fans_->find(fan); measured != fans_->end()) {
        // A fan newly taken over starts from its measured speed, so it does not jump.
        current = measured->second.currentRPM;
    }
    const double next = SlewLimiter{rate}.step(current, desired, controlTickInterval);
    rampedTargets_[fan] = next;
    return next;
}

QCoro::Task<void> HalvorenEngine::restoreAuto() {
    const std::weak_ptr<int> alive = lifetime_;
    std::optional<DriverFailure> failure;
    try {
        co_await driver_.restoreAuto();
    } catch (const DriverFailure& error) {
        failure = error;
    }
    if (alive.expired()) {
        co_return;
    }
    if (failure) {
        // The ramp and the controlling flag stay, so the next tick tries again.
        setLastError("restore failed: " + failure->message());
        co_return;
    }
    isControlling_ = false;
    rampedTargets_.clear();
}

void HalvorenEngine::setLastError(std::string text) {
    lastError_.set(std::move(text));
}

ControlPipeline HalvorenEngine::makePipeline(const FanProfile& profile) const {
    ControlPipeline pipeline{
        .curve = profile.curvePoints.size() >= 2 ? FanCurve(profile.curvePoints) : lastResortCurve(),
        .ema = EMAFilter(clampTo(acousticAlpha_.value(), 0.05, 1.0)),
        .proactiveFloor = effectiveFloor(),
    };
    const std::optional<CustomMode> mode = activeCustomMode();
    if (mode && mode->speed.kind() == ModeSpeed::Kind::fixed) {
        pipeline.fixedOverride = mode->speed.percentage();
    }
    return pipeline;
}

void HalvorenEngine::rebuildPipelines() {
    const std::optional<FanProfile>& profile = activeProfile_.value();
    if (profile && profile->mode == ControlMode::adaptiveCurve) {
        pipeline_ = makePipeline(*profile);
    } else {
        pipeline_.reset();
    }
    deadbands_.clear();
}

} // namespace halvoren
