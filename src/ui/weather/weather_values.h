#pragma once

#include "core/fan_status.h"
#include "core/weather_snapshot.h"

#include <QString>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

class QSettings;

namespace halvoren::weather {

// What the weather card and the fan meter derive from the engine's values; no state.

// The card's two pages. Stored by raw text; anything else reads as the forecast.
enum class WeatherPage { forecast, radar };
inline constexpr std::string_view weatherPageKey = "com.halvoren.weatherPage";
WeatherPage weatherPageFromRaw(const QString& raw);
QString rawValue(WeatherPage page);
WeatherPage loadWeatherPage(const QSettings& settings);
void storeWeatherPage(QSettings& settings, WeatherPage page);

// From 72 °C a reading counts as hot and takes the heat colour.
inline constexpr double hotCelsius = 72.0;
bool isHot(double celsius);
// The glow behind the condition glyph strengthens with the temperature: 0.08 ... 0.28.
double glowOpacity(double celsius);
// Seconds for one swing of the glyph's breathing; the worse the weather, the quicker. None
// for clear weather, when it stands still.
std::optional<double> breathingPeriod(WeatherCondition condition);
inline constexpr double breathLow = 0.97;
inline constexpr double breathHigh = 1.05;

// Temperatures are spoken and shown in the user's unit, rounded to whole degrees.
QString wholeDegrees(double celsius, bool fahrenheit);
// "Weather: Building, 61 degrees. " and the forecast line.
QString forecastAccessibilityLabel(const WeatherSnapshot& snapshot, bool fahrenheit);
// "61° now, forecast 64° at 3p".
QString stripAccessibilityLabel(const std::vector<WeatherSnapshot::HourlyEntry>& hourly, bool fahrenheit);

// The radar's moving streams, 0 ... 6, from the fastest fan's place in its range.
int radarStreams(double fanFraction);
// Seconds for one dash cycle: 2.78 for one stream down to 0.7 for six; none when nothing moves.
std::optional<double> dashPeriod(int streams);
// One dash cycle's length in points: 6.5 on, 10 off.
inline constexpr double dashOn = 6.5;
inline constexpr double dashOff = 10.0;
QString radarAccessibilityLabel(double fanFraction, bool hasFans);

// --- One fan -------------------------------------------------------------------------------

// The fan's place between its minimum and maximum, 0 ... 1; 0 for a fan with no range.
double fanFraction(const FanStatus& fan);
// Radians per second of the turning glyph: two turns a second at full speed.
double fanAngularVelocity(const FanStatus& fan);
// The program holds the fan at a target, which the track marks.
bool showsTargetTick(const FanStatus& fan);
// The tick's left edge on a track `trackWidth` wide, held inside the track.
double targetTickX(const FanStatus& fan, double trackWidth, double tickWidth = 2.0);
// The manual slider's range: never empty, even for a fan whose maximum equals its minimum.
struct RPMRange {
    double lower;
    double upper;
};
RPMRange manualSliderRange(const FanStatus& fan);
// "Left Fan, 2000 RPM", with ", target 2400 RPM" when the target is shown.
QString fanMeterAccessibilityLabel(const FanStatus& fan, std::span<const int> sortedIDs, bool showTarget);

} // namespace halvoren::weather
