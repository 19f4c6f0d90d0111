#include "app/status_line.h"

#include "core/json_support.h"
#include "core/menu_bar_item_renderer.h"
#include "engine/halvoren_engine.h"

#include <ctime>
#include <iomanip>
#include <sstream>

namespace halvoren {
namespace {

// UTC, to the millisecond: 2027-01-15T08:00:00.000Z.
std::string isoTime(Clock::WallTime now) {
    const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
    const auto seconds = static_cast<std::time_t>(millis / 1000);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    std::ostringstream text;
    text << std::put_time(&utc, "%Y-%m-%dT%H:%M:%S") << '.' << std::setw(3) << std::setfill('0')
         << millis % 1000 << 'Z';
    return text.str();
}

std::string_view dustCycleStateName(DustCycleUIState::Kind kind) {
    switch (kind) {
    case DustCycleUIState::Kind::running:
        return "running";
    case DustCycleUIState::Kind::completed:
        return "completed";
    case DustCycleUIState::Kind::aborted:
        return "aborted";
    case DustCycleUIState::Kind::idle:
        break;
    }
    return "idle";
}

// The applications of a heat list, hottest first.
nlohmann::ordered_json heatRows(const std::vector<HeatSource>& rows) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const HeatSource& row : rows) {
        list.push_back({{"name", row.name}, {"cpuShare", row.cpuShare}, {"cpuSeconds", row.cpuSeconds}});
    }
    return list;
}

} // namespace

nlohmann::ordered_json statusLine(const HalvorenEngine& engine, Clock::WallTime now) {
    using Json = nlohmann::ordered_json;
    Json fans = Json::array();
    for (const auto& [id, fan] : engine.fans().value()) {
        fans.push_back(Json{{"id", id},
                            {"current", fan.currentRPM},
                            {"target", fan.targetRPM},
                            {"min", fan.minRPM},
                            {"max", fan.maxRPM},
                            {"managed", fan.isManaged}});
    }
    Json manual = Json::object();
    for (const auto& [id, rpm] : engine.manualFanTargets().value()) {
        manual[std::to_string(id)] = rpm;
    }
    const PowerTelemetry& power = engine.powerTelemetry().value();
    const DustCycleUIState& dust = engine.dustCycleState().value();
    const auto& cooldownEnd = engine.cooldownEndDate().value();
    Json health = Json::object();
    for (const auto& [id, warning] : engine.fanHealthWarnings().value()) {
        health[std::to_string(id)] = std::string(FanHealthText::detail(warning));
    }
    const WeatherSnapshot& weather = engine.weatherSnapshot().value();
    const ThermalTrend& trend = engine.thermalTrend().value();
    const ForecastChipState& chip = engine.forecastChip().value();
    const auto& profile = engine.activeProfile().value();
    const auto& preset = engine.activePreset().value();
    const auto& error = engine.lastError().value();
    const auto& alert = engine.alerts().inAppAlert().value();
    const MenuBarLabelState& label = engine.menuBarLabelModel().value();
    return Json{
        {"time", isoTime(now)},
        {"controlTemperature", engine.controlTemperature().value()},
        {"displayedTemperature", engine.displayedTemperature().value()},
        {"controlSourceUnavailable", engine.controlSourceUnavailable().value()},
        {"smcAvailable", engine.smcAvailable().value()},
        {"helperState", engine.helperState()->description()},
        {"activeProfile", profile ? Json(profile->name) : Json(nullptr)},
        {"activePreset", preset ? Json(std::string(rawValue(*preset))) : Json(nullptr)},
        {"drivingStatus", engine.drivingStatusSubtitle()},
        {"lastError", error ? Json(*error) : Json(nullptr)},
        {"turbo", engine.isTurboEngaged().value()},
        {"manualTargets", std::move(manual)},
        {"quietHoursActive", engine.quietHoursActive()},
        {"meetingQuietActive", engine.meetingQuietActive().value()},
        {"power", Json{{"source", std::string(rawValue(power.source))},
                       {"watts", power.systemWatts},
                       {"charging", power.isCharging},
                       {"batteryWattHours", power.batteryWattHours}}},
        {"lidClosed", engine.isClamshell().value()},
        {"cooldownEnd", cooldownEnd ? Json(isoTime(*cooldownEnd)) : Json(nullptr)},
        {"dustCycle",
         Json{{"state", std::string(dustCycleStateName(dust.kind))}, {"secondsLeft", dust.secondsLeft}}},
        {"trend", std::string(trend.label())},
        {"forecastChip",
         Json{{"label", chip.labelWord},
              {"etaMinutes", chip.etaWholeMinutes ? Json(*chip.etaWholeMinutes) : Json(nullptr)},
              {"urgent", chip.etaIsUrgent}}},
        {"overheating", engine.isOverheating().value()},
        {"alert", alert ? Json(*alert) : Json(nullptr)},
        {"weather", std::string(rawValue(weather.condition))},
        {"forecastLine", weather.forecastLine},
        {"fanHealthWarnings", std::move(health)},
        {"heatSources", heatRows(engine.heatSources().value())},
        {"dailyHeatSources", heatRows(engine.dailyHeatSources().value())},
        {"menuBar", Json{{"readout", std::string(rawValue(label.readout))},
                         {"text", MenuBarItemRenderer::labelText(label)},
                         {"spinTier", label.spinTier}}},
        {"fans", std::move(fans)},
    };
}

} // namespace halvoren
