#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace halvoren {

// One reading of the hottest temperature: wall-clock seconds since 1970 and degrees Celsius.
struct TrendSample {
    double t = 0.0;
    double temp = 0.0;

    friend bool operator==(const TrendSample&, const TrendSample&) = default;
};

// Whether the hottest temperature is rising, steady or cooling over the last two minutes,
// and, when rising, the minutes left until the ceiling.
class ThermalTrend {
public:
    enum class Kind { rising, steady, cooling };

    // The payload is kept only when it is a finite, positive number of minutes: anything
    // else is no estimate at all.
    static ThermalTrend rising(std::optional<double> etaMinutes);
    static ThermalTrend steady() { return {Kind::steady, std::nullopt}; }
    static ThermalTrend cooling() { return {Kind::cooling, std::nullopt}; }

    // The least-squares slope of the samples whose `t` lies within 120 s of the newest one,
    // in any order. Fewer than 8 such samples, or a span under 30 s, is `steady`; from
    // +0.8 °C/min it is rising, with the minutes to `ceiling` from the last measured value
    // when that is at most an hour; from -0.8 °C/min it is cooling.
    static ThermalTrend fit(std::span<const TrendSample> samples, double ceiling);

    Kind kind() const { return kind_; }
    bool isRising() const { return kind_ == Kind::rising; }
    // Only ever present on `rising`.
    std::optional<double> etaMinutes() const { return eta_; }

    std::string_view label() const;
    std::string_view sfSymbolName() const;

    friend bool operator==(const ThermalTrend&, const ThermalTrend&) = default;

private:
    ThermalTrend(Kind kind, std::optional<double> eta)
        : kind_(kind)
        , eta_(eta) {}

    Kind kind_;
    std::optional<double> eta_;
};

// What the forecast chip shows for a trend.
struct ForecastChipState {
    std::string symbolName;
    std::string labelWord;
    std::optional<int> etaWholeMinutes; // only below 15 minutes
    bool etaIsUrgent = false;           // below 5 minutes

    friend bool operator==(const ForecastChipState&, const ForecastChipState&) = default;
};

ForecastChipState forecastChipState(const ThermalTrend& trend);

// The fan floor, as a fraction of the range, that pre-spool asks for: 0 unless enabled and
// rising with an estimate of at most ten minutes, then a ramp from 0.10 at ten minutes to
// 0.25 at three, and 0.25 below three.
double preSpoolFloor(const ThermalTrend& trend, bool enabled);

// A slope in °C/min made to agree with the trend's direction: never negative while rising,
// never positive while cooling, and 0 while steady, so the weather and the trend cannot
// contradict each other on screen.
double slopeAgreeingWith(const ThermalTrend& trend, double perMinute);

} // namespace halvoren
