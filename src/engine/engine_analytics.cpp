#include "core/telemetry_csv.h"
#include "engine/halvoren_engine.h"

#include <QDir>
#include <QSaveFile>
#include <algorithm>
#include <cmath>

namespace halvoren {

void HalvorenEngine::recordTelemetry(const SensorPoller::Snapshot& snapshot) {
    // Only a sweep that really re-read the sensors is a new sample.
    if (!snapshot.sensorsRefreshed) {
        return;
    }
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

std::optional<std::string> HalvorenEngine::exportHistoryCSV() {
    const std::string path =
        QDir::temp()
            .filePath(QString::fromStdString(historyExportFileName(timers_.clock().wallNow())))
            .toStdString();
    return writeHistoryCSV(path) ? std::optional(path) : std::nullopt;
}

bool HalvorenEngine::writeHistoryCSV(const std::string& path) {
    const std::string text = telemetryCSV(telemetry_.history());
    // Whole or not at all: a reader never sees half a file.
    QSaveFile file(QString::fromStdString(path));
    if (file.open(QIODevice::WriteOnly) &&
        file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size()) &&
        file.commit()) {
        return true;
    }
    setLastError("CSV export failed: " + file.errorString().toStdString());
    return false;
}

} // namespace halvoren
