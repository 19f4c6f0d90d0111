#pragma once

#include "core/control_source.h"
#include "core/device_sensor_map.h"
#include "core/dust_cycle.h"
#include "core/fan_health_monitor.h"
#include "core/fan_profile.h"
#include "core/heat_attribution.h"
#include "core/thermal_trend.h"

#include <QString>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string_view>
#include <vector>

namespace halvoren {

class HalvorenEngine;

namespace dashboard {

// The five choices of the mode segments.
enum class FanMode { automatic, silent, balanced, max, manual };

struct FanModeInfo {
    FanMode mode;
    std::string_view label;
};
inline constexpr std::array<FanModeInfo, 5> fanModes{{
    {FanMode::automatic, "Automatic"},
    {FanMode::silent, "Quiet"},
    {FanMode::balanced, "Balanced"},
    {FanMode::max, "Max"},
    {FanMode::manual, "Manual"},
}};

// The built-in profile behind a mode; none for manual.
const FanProfile* builtInProfile(FanMode mode);

// Hand-set targets are manual; a built-in profile is its mode; a fixed speed other than Turbo
// is manual; anything else (Turbo, a curve of the user's, no profile) shows as Max.
FanMode currentMode(const std::map<int, double>& manualTargets,
                    const std::optional<FanProfile>& activeProfile, bool turboEngaged);
// Manual takes over the fans at their present speeds; every other mode runs its built-in
// profile and forgets any preset or custom mode.
void selectMode(HalvorenEngine& engine, FanMode mode);

// The forecast chip's words: "Rising", or "14 min to 95°C" with a time.
QString forecastChipText(const ForecastChipState& chip, double thresholdCelsius, bool fahrenheit,
                         bool precise);
// What a screen reader says for it: "Rising, about 14 minutes to 95 degrees", else the word.
QString forecastAccessibilityValue(const ForecastChipState& chip, double thresholdCelsius, bool fahrenheit,
                                   bool precise);

inline constexpr std::size_t dashboardSensorLimit = 6;
// The pinned readings in their order, then the hottest of the rest (readings without a value
// last), at most six.
std::vector<DeviceSensorReading> dashboardSensorReadings(const std::vector<DeviceSensorReading>& readings,
                                                         const std::set<std::string>& pinned);

enum class HeatSourceMode { live, today };
inline constexpr std::size_t heatSourceLimit = 5;
std::span<const HeatSource> displayedHeatSources(HeatSourceMode mode, const std::vector<HeatSource>& live,
                                                 const std::vector<HeatSource>& today);
struct EmptyStateText {
    QString title;
    QString detail;
};
EmptyStateText heatSourcesEmptyState(HeatSourceMode mode);
// The share as a whole percentage: "42%".
QString heatShareText(double share);

// The label of a control temperature's source in the "Based on" menu.
QString controlSourceLabel(ControlSource source);

struct FanWarningText {
    QString text;
    QString help;
};
FanWarningText fanWarningText(FanHealthMonitor::Warning warning);

// "Dust cycle · 12s" while a cycle runs; none otherwise.
std::optional<QString> dustCycleRunningText(const DustCycleUIState& state);

} // namespace dashboard
} // namespace halvoren
