#include "core/clamp.h"
#include "core/fan_driving_status.h"
#include "core/telemetry_csv.h"
#include "core/weather_copy.h"
#include "core/weather_hourly.h"
#include "platform/atomic_file.h"
#include "engine/halvoren_engine.h"
#include "engine/thermal_almanac_store.h"

#include <QDir>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>
#include <algorithm>
#include <cmath>
#include <qcoro/qcorofuture.h>

namespace halvoren {

void HalvorenEngine::recordTelemetry(const SensorPoller::Snapshot& snapshot) {
    // Only a sweep that really re-read the sensors is a new sample; the fans are judged on
    // every pass.
    if (snapshot.sensorsRefreshed) {
        recordSweep(snapshot);
    }
    evaluateFanHealth(snapshot.fans);
}

void HalvorenEngine::evaluateFanHealth(const std::vector<FanStatus>& fans) {
    if (!fanHealthWarningsEnabled_.value()) {
        return;
    }
    // The suspending clock: a machine asleep does not mature the timers.
    const double now = timers_.clock().suspendingNow();
    std::vector<int> ids;
    ids.reserve(fans.size());
    for (const FanStatus& fan : fans) {
        ids.push_back(fan.id);
    }
    std::ranges::sort(ids);
    for (const FanStatus& fan : fans) {
        // Under firmware control, and for a failed reading, nothing is judged.
        std::optional<double> commanded;
        if (const auto ramp = rampedTargets_.find(fan.id);
            isControlling_ && fan.currentRPMValid && ramp != rampedTargets_.end()) {
            commanded = ramp->second;
        }
        const std::optional<FanHealthMonitor::Event> event =
            fanHealth_.observe(fan.id, commanded, fan.currentRPM, now);
        if (!event) {
            continue;
        }
        fanHealthWarnings_.modify([&](std::map<int, FanHealthMonitor::Warning>& warnings) {
            if (std::holds_alternative<FanHealthMonitor::Recovered>(*event)) {
                return warnings.erase(fan.id) > 0;
            }
            const auto warning = std::holds_alternative<FanHealthMonitor::Stalled>(*event)
                                     ? FanHealthMonitor::Warning::stalled
                                     : FanHealthMonitor::Warning::underperforming;
            const auto [it, inserted] = warnings.insert_or_assign(fan.id, warning);
            return inserted || it->second != warning;
        });
        const std::string key = FanHealthText::alertKey(fan.id);
        if (std::holds_alternative<FanHealthMonitor::Recovered>(*event)) {
            // Re-armed without a notification, so that a later failure alerts again.
            alerts_.setRuleWasTriggered(key, false);
            continue;
        }
        const std::string name = fanDisplayName(fan.id, ids);
        if (std::holds_alternative<FanHealthMonitor::Stalled>(*event)) {
            const auto ramp = rampedTargets_.find(fan.id);
            alerts_.updateRule(
                key, true, std::string(FanHealthText::alertTitle(FanHealthMonitor::Warning::stalled)),
                FanHealthText::stalledMessage(name, ramp != rampedTargets_.end() ? ramp->second : 0.0));
        } else if (const auto* slow = std::get_if<FanHealthMonitor::Underperforming>(&*event)) {
            alerts_.updateRule(
                key, true, std::string(FanHealthText::alertTitle(FanHealthMonitor::Warning::underperforming)),
                FanHealthText::underperformingMessage(name, slow->actualRPM, slow->commandedRPM));
        }
    }
}

void HalvorenEngine::recordSweep(const SensorPoller::Snapshot& snapshot) {
    // Named sensors first; with none, any reading will do.
    const auto named = [](const SMCSensor& s) {
        return s.sensorClass == SensorClass::temperature && s.name != s.key;
    };
    const bool anyNamed = std::ranges::any_of(snapshot.allSensors, named);
    const SMCSensor* hottest = nullptr;
    for (const SMCSensor& sensor : snapshot.allSensors) {
        if ((!anyNamed || named(sensor)) && (!hottest || sensor.currentTemp > hottest->currentTemp)) {
            hottest = &sensor;
        }
    }
    const double maxTemp = hottest ? hottest->currentTemp : 0.0;
    double fanRPM = 0.0;
    std::vector<FanSpeed> speeds;
    speeds.reserve(snapshot.fans.size());
    for (const FanStatus& fan : snapshot.fans) {
        fanRPM = std::max(fanRPM, fan.currentRPM);
        speeds.push_back({fan.currentRPM, fan.maxRPM});
    }
    telemetry_.record(maxTemp, fanRPM, powerTelemetry_->systemWatts, PowerTelemetry::totalFanWatts(speeds),
                      timers_.clock().wallNow());
    lastMaxTempSample_ = maxTemp;
    isOverheating_.set(maxTemp >= overheatThreshold_.value());

    alerts_.update(isOverheating_.value(), hottest ? hottest->name : "Unknown sensor", maxTemp);
    // Only temperatures: a power reading of the same category is not a heat.
    std::vector<SMCSensor> temperatures;
    std::ranges::copy_if(snapshot.allSensors, std::back_inserter(temperatures),
                         [](const SMCSensor& s) { return s.sensorClass == SensorClass::temperature; });
    evaluateAlertRules(temperatures);
}

void HalvorenEngine::updateThermalTrend() {
    // A gap in the readings leaves the trend as it was.
    if (!(lastMaxTempSample_ > 0.0) || !std::isfinite(lastMaxTempSample_)) {
        return;
    }
    const double now = std::chrono::duration<double>(timers_.clock().wallNow().time_since_epoch()).count();
    trendSamples_.push_back({now, lastMaxTempSample_});
    if (trendSamples_.size() > trendSampleLimit) {
        trendSamples_.erase(trendSamples_.begin(),
                            trendSamples_.end() - static_cast<std::ptrdiff_t>(trendSampleLimit));
    }
    publishThermalTrend(ThermalTrend::fit(trendSamples_, overheatThreshold_.value()));
}

void HalvorenEngine::publishThermalTrend(const ThermalTrend& trend) {
    thermalTrend_.set(trend);
    forecastChip_.set(forecastChipState(trend));
}

namespace {

// The weather's own notion of hot, apart from the user's overheat threshold.
constexpr double weatherHotThreshold = 72.0;
constexpr double almanacSaveInterval = 300.0;
// Thirty minutes at one sample a second.
constexpr double projectionSamples = 1800.0;

double tenths(double x) {
    return std::round(x * 10.0) / 10.0;
}

} // namespace

double HalvorenEngine::menuBarFanFraction() const {
    const FanStatus* fastest = nullptr;
    for (const auto& [id, fan] : fans_.value()) {
        if (!fastest || fan.currentRPM > fastest->currentRPM) {
            fastest = &fan;
        }
    }
    if (!fastest || !(fastest->maxRPM - fastest->minRPM > 0.0)) {
        return 0.0;
    }
    return clampUnit((fastest->currentRPM - fastest->minRPM) / (fastest->maxRPM - fastest->minRPM));
}

void HalvorenEngine::updateWeather() {
    const double control = controlTemperature_.value();
    if (!(control > 0.0)) {
        return;
    }
    weatherSmoother_.update(control);
    const Clock::WallTime now = timers_.clock().wallNow();
    const std::chrono::local_seconds local = localTime(now);
    if (weatherAlmanacLoaded_) {
        weatherAlmanac_.record(control, local);
        const double monotonic = timers_.clock().monotonicNow();
        if (!lastAlmanacSave_ || monotonic - *lastAlmanacSave_ >= almanacSaveInterval) {
            lastAlmanacSave_ = monotonic;
            // A copy goes to a worker; the file is small and the result is not awaited.
            QThreadPool::globalInstance()->start(
                [path = almanacPath_, copy = weatherAlmanac_] { ThermalAlmanacStore::save(path, copy); });
        }
    }
    // The published slope agrees with the trend's direction; the projection does not pass
    // through that gate.
    const double trend = slopeAgreeingWith(thermalTrend_.value(), weatherSmoother_.trendPerSample * 60.0);
    const double projected = weatherSmoother_.projected(projectionSamples);
    const WeatherCondition condition =
        resolveWeatherCondition({.controlTemp = control,
                                 .trendPerMinute = trend,
                                 .fanDuty = menuBarFanFraction(),
                                 .workloadBoost = processWorkloadImpact_.value(),
                                 .hotThreshold = weatherHotThreshold});
    std::optional<std::string> outlook;
    if (weatherAlmanacLoaded_) {
        if (const auto found = weatherAlmanac_.outlook(local, weatherHotThreshold)) {
            outlook = found->line;
        }
    }
    WeatherSnapshot snapshot;
    snapshot.condition = condition;
    // The hero shows the displayed temperature; the storm sentence the control temperature.
    snapshot.temperature = tenths(displayedTemperature_.value());
    snapshot.trendPerMinute = tenths(trend);
    snapshot.projected30Min = std::round(projected);
    snapshot.forecastLine = WeatherCopy::forecastLine(condition, control, trend, projected);
    snapshot.outlookLine = std::move(outlook);
    snapshot.hourly = hourlyEntries(ThermalAlmanac::hourOf(local), control, projected,
                                    weatherAlmanac_, // empty until it has been read
                                    weatherSmoother_.sampleCount);
    weatherSnapshot_.set(std::move(snapshot));
}

void HalvorenEngine::loadAlmanacInBackground() {
    if (weatherAlmanacLoaded_) {
        return;
    }
    [[maybe_unused]] auto task = [](HalvorenEngine* self, std::weak_ptr<int> alive,
                                    QString path) -> QCoro::Task<void> {
        QFuture<ThermalAlmanac> loading = QtConcurrent::run(
            QThreadPool::globalInstance(), [path] { return ThermalAlmanacStore::load(path); });
        co_await loading;
        // Loaded meanwhile by another start: the file's older value is dropped.
        if (alive.expired() || self->weatherAlmanacLoaded_) {
            co_return;
        }
        self->weatherAlmanac_ = loading.result();
        self->weatherAlmanacLoaded_ = true;
    }(this, lifetime_, almanacPath_);
}

void HalvorenEngine::prepareForTermination() {
    if (weatherAlmanacLoaded_) {
        ThermalAlmanacStore::save(almanacPath_, weatherAlmanac_);
    }
}

std::optional<std::string> HalvorenEngine::exportHistoryCSV() {
    const std::string path =
        QDir::temp()
            .filePath(QString::fromStdString(historyExportFileName(timers_.clock().wallNow())))
            .toStdString();
    return writeHistoryCSV(path) ? std::optional(path) : std::nullopt;
}

bool HalvorenEngine::writeHistoryCSV(const std::string& path) {
    const std::optional<std::string> error =
        writeFileAtomically(QString::fromStdString(path), telemetryCSV(telemetry_.history()));
    if (error) {
        setLastError("CSV export failed: " + *error);
    }
    return !error;
}

} // namespace halvoren
