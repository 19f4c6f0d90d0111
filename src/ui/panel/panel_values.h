#pragma once

#include "core/custom_mode.h"
#include "core/fan_profile.h"
#include "core/fan_status.h"
#include "engine/helper_state.h"
#include "platform/clock.h"

#include <QString>
#include <array>
#include <map>
#include <optional>
#include <string_view>

namespace halvoren::panel {

using FanMap = std::map<int, FanStatus>;

// What the panel derives from the engine's fields; no state of its own.

// Tells the user plainly that the fans cannot be controlled; nothing while connected.
std::optional<QString> honestyLine(const HelperState& state);

// The span the speed slider covers: the smallest minimum and the greatest maximum over the
// fans, or 1200 ... 6000 on a machine without fans.
struct FanBounds {
    double min = 1200.0;
    double max = 6000.0;
};
FanBounds fanBounds(const FanMap& fans);

// The preset whose tab is lit: the active preset, or the one whose profile is running.
std::optional<FanPreset> activeTier(std::optional<FanPreset> activePreset,
                                    const std::optional<FanProfile>& activeProfile);

// Hand-set targets, or a fixed-speed profile with a speed set (Turbo and Max included).
bool isManualControl(const std::map<int, double>& manualTargets,
                     const std::optional<FanProfile>& activeProfile);

// The RPM the slider stands for at `position` (clamped to 0 ... 1), whole.
double sliderRPM(double position, FanBounds bounds);
// Where the slider stands for a fixed-speed profile, else for the fastest fan's speed.
double sliderPosition(const std::optional<FanProfile>& activeProfile, const FanMap& fans, FanBounds bounds);

// The right-hand text of the speed row.
QString speedLabel(bool manualOrDragging, double rpm);

// "72 degrees Celsius", or "no reading" without a temperature.
QString heroAccessibilityValue(std::optional<double> celsius, bool fahrenheit, bool precise);
// Each fan by its place and its whole speed: "Left Fan 2000 RPM, Right Fan 2400 RPM".
QString fanMetersAccessibilityValue(const FanMap& fans);

struct PresetTab {
    FanPreset preset;
    std::string_view title;
    std::string_view symbol;
    std::string_view subtitle;
};
inline constexpr std::array<PresetTab, 3> presetTabs{{
    {FanPreset::quiet, "Quiet", "moon.fill", "Capped"},
    {FanPreset::auto_, "Balanced", "wind", "Curve"},
    {FanPreset::max, "Max", "flame.fill", "100%"},
}};

// A custom mode's right-hand text ("Fixed 70%") and its spoken value ("70 percent, Fixed").
QString customModeDetail(const ModeSpeed& speed);
QString customModeAccessibilityValue(const ModeSpeed& speed);

// Turbo's trailing text while engaged: the fastest fan, or "Max cooling" before a reading.
QString turboDetail(const FanMap& fans);
// The time left until `end` as "m:ss" (whole seconds, rounded up), never negative.
QString cooldownCountdown(Clock::WallTime now, Clock::WallTime end);

} // namespace halvoren::panel
