#include "ui/weather/weather_values.h"

#include "core/clamp.h"
#include "core/fan_driving_status.h"
#include "core/temperature_format.h"

#include <QSettings>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace halvoren::weather {

namespace {

QString settingsKey() {
    return QString::fromUtf8(weatherPageKey.data(), static_cast<qsizetype>(weatherPageKey.size()));
}

long long whole(double x) {
    return std::isfinite(x) ? std::llround(x) : 0;
}

} // namespace

WeatherPage weatherPageFromRaw(const QString& raw) {
    return raw == QLatin1String("radar") ? WeatherPage::radar : WeatherPage::forecast;
}

QString rawValue(WeatherPage page) {
    return page == WeatherPage::radar ? QStringLiteral("radar") : QStringLiteral("forecast");
}

WeatherPage loadWeatherPage(const QSettings& settings) {
    return weatherPageFromRaw(settings.value(settingsKey()).toString());
}

void storeWeatherPage(QSettings& settings, WeatherPage page) {
    settings.setValue(settingsKey(), rawValue(page));
}

bool isHot(double celsius) {
    return celsius >= hotCelsius;
}

double glowOpacity(double celsius) {
    const double heat = std::isfinite(celsius) ? clampUnit((celsius - 35.0) / 57.0) : 0.0;
    return heat * 0.2 + 0.08;
}

std::optional<double> breathingPeriod(WeatherCondition condition) {
    switch (condition) {
    case WeatherCondition::clear:
        return std::nullopt;
    case WeatherCondition::building:
        return 2.6;
    case WeatherCondition::heatFront:
        return 1.6;
    case WeatherCondition::storm:
        return 1.1;
    case WeatherCondition::cooldown:
        return 3.2;
    }
    return std::nullopt;
}

QString wholeDegrees(double celsius, bool fahrenheit) {
    return QString::number(whole(TemperatureFormat::converted(celsius, fahrenheit)));
}

QString forecastAccessibilityLabel(const WeatherSnapshot& snapshot, bool fahrenheit) {
    return QStringLiteral("Weather: %1, %2 degrees. %3")
        .arg(QString::fromUtf8(displayName(snapshot.condition)),
             wholeDegrees(snapshot.temperature, fahrenheit), QString::fromStdString(snapshot.forecastLine));
}

QString stripAccessibilityLabel(const std::vector<WeatherSnapshot::HourlyEntry>& hourly, bool fahrenheit) {
    QStringList parts;
    for (const auto& entry : hourly) {
        const QString when = entry.label == "now"
                                 ? QStringLiteral("now")
                                 : QStringLiteral("at ") + QString::fromStdString(entry.label);
        parts << QStringLiteral("%1%2\u00B0 %3")
                     .arg(entry.isForecast ? QStringLiteral("forecast ") : QString(),
                          wholeDegrees(entry.temperature, fahrenheit), when);
    }
    return parts.join(QStringLiteral(", "));
}

int radarStreams(double fanFraction) {
    if (!std::isfinite(fanFraction)) {
        return 0;
    }
    return static_cast<int>(std::clamp(std::round(fanFraction * 6.0), 0.0, 6.0));
}

std::optional<double> dashPeriod(int streams) {
    if (streams < 1) {
        return std::nullopt;
    }
    return std::max(streams / -6.0 * 2.5 + 3.2, 0.7);
}

QString radarAccessibilityLabel(double fanFraction, bool hasFans) {
    if (!hasFans) {
        return QStringLiteral("Airflow radar: no controllable fans");
    }
    return QStringLiteral("Airflow radar: fans at %1 percent").arg(whole(fanFraction * 100.0));
}

double fanFraction(const FanStatus& fan) {
    const double span = fan.maxRPM - fan.minRPM;
    if (!(span > 0.0) || !std::isfinite(fan.currentRPM)) {
        return 0.0;
    }
    return clampUnit((fan.currentRPM - fan.minRPM) / span);
}

double fanAngularVelocity(const FanStatus& fan) {
    return fanFraction(fan) * 4.0 * std::numbers::pi;
}

bool showsTargetTick(const FanStatus& fan) {
    return fan.isManaged && fan.targetRPM > 0.0 && fan.maxRPM > fan.minRPM;
}

double targetTickX(const FanStatus& fan, double trackWidth, double tickWidth) {
    const double span = fan.maxRPM - fan.minRPM;
    const double place =
        span > 0.0 && std::isfinite(fan.targetRPM) ? (fan.targetRPM - fan.minRPM) / span : 0.0;
    const double room = std::max(trackWidth - tickWidth, 0.0);
    return std::clamp(clampUnit(place) * trackWidth - tickWidth / 2.0, 0.0, room);
}

RPMRange manualSliderRange(const FanStatus& fan) {
    return {fan.minRPM, std::max(fan.maxRPM, fan.minRPM + 1.0)};
}

QString fanMeterAccessibilityLabel(const FanStatus& fan, std::span<const int> sortedIDs, bool showTarget) {
    QString label = QStringLiteral("%1, %2 RPM")
                        .arg(QString::fromStdString(fanDisplayName(fan.id, sortedIDs)))
                        .arg(whole(fan.currentRPM));
    if (showTarget) {
        label += QStringLiteral(", target %1 RPM").arg(whole(fan.targetRPM));
    }
    return label;
}

} // namespace halvoren::weather
