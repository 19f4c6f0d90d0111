#include "core/thermal_trend.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

namespace halvoren {

namespace {
constexpr double windowSeconds = 120.0;
constexpr std::size_t minimumSamples = 8;
constexpr double minimumSpanSeconds = 30.0;
constexpr double slopeThreshold = 0.8; // °C per minute, either way
constexpr double longestEtaMinutes = 60.0;

constexpr double chipEtaLimit = 15.0;
constexpr double urgentEta = 5.0;

constexpr double preSpoolStartEta = 10.0;
constexpr double preSpoolFullEta = 3.0;
constexpr double preSpoolStartFloor = 0.10;
constexpr double preSpoolFullFloor = 0.25;
} // namespace

ThermalTrend ThermalTrend::rising(std::optional<double> etaMinutes) {
    if (etaMinutes && !(std::isfinite(*etaMinutes) && *etaMinutes > 0.0)) {
        etaMinutes.reset();
    }
    return {Kind::rising, etaMinutes};
}

ThermalTrend ThermalTrend::fit(std::span<const TrendSample> samples, double ceiling) {
    // NaN times never compare greater, so they neither set the window nor fall inside it.
    double latest = -std::numeric_limits<double>::infinity();
    for (const auto& s : samples) {
        if (s.t > latest) {
            latest = s.t;
        }
    }
    std::vector<TrendSample> window;
    window.reserve(samples.size());
    std::copy_if(samples.begin(), samples.end(), std::back_inserter(window),
                 [&](const TrendSample& s) { return s.t >= latest - windowSeconds; });
    std::stable_sort(window.begin(), window.end(),
                     [](const TrendSample& a, const TrendSample& b) { return a.t < b.t; });

    if (window.size() < minimumSamples || !(window.back().t - window.front().t >= minimumSpanSeconds)) {
        return steady();
    }

    const auto n = static_cast<double>(window.size());
    double sumT = 0.0;
    double sumTemp = 0.0;
    for (const auto& s : window) {
        sumT += s.t;
        sumTemp += s.temp;
    }
    const double meanT = sumT / n;
    const double meanTemp = sumTemp / n;
    double sxy = 0.0;
    double sxx = 0.0;
    for (const auto& s : window) {
        sxy += (s.t - meanT) * (s.temp - meanTemp);
        sxx += (s.t - meanT) * (s.t - meanT);
    }
    if (!(sxx > 0.0)) {
        return steady();
    }

    // A temperature that is not finite makes the slope NaN, which falls through to steady.
    const double slope = sxy / sxx * 60.0;
    if (slope >= slopeThreshold) {
        const double remaining = ceiling - window.back().temp;
        if (!(remaining > 0.0)) {
            return rising(std::nullopt);
        }
        const double eta = remaining / slope;
        return rising(eta > 0.0 && eta <= longestEtaMinutes ? std::optional(eta) : std::nullopt);
    }
    if (slope <= -slopeThreshold) {
        return cooling();
    }
    return steady();
}

std::string_view ThermalTrend::label() const {
    switch (kind_) {
    case Kind::rising:
        return "Rising";
    case Kind::steady:
        return "Steady";
    case Kind::cooling:
        return "Cooling";
    }
    return {};
}

std::string_view ThermalTrend::sfSymbolName() const {
    switch (kind_) {
    case Kind::rising:
        return "arrow.up.right";
    case Kind::steady:
        return "arrow.right";
    case Kind::cooling:
        return "arrow.down.right";
    }
    return {};
}

ForecastChipState forecastChipState(const ThermalTrend& trend) {
    ForecastChipState chip{std::string(trend.sfSymbolName()), std::string(trend.label()), std::nullopt,
                           false};
    // `rising` keeps only positive, finite estimates, so the rounded value fits an int.
    if (const auto eta = trend.etaMinutes(); eta && *eta < chipEtaLimit) {
        chip.etaWholeMinutes = static_cast<int>(std::round(*eta));
        chip.etaIsUrgent = *eta < urgentEta;
    }
    return chip;
}

double preSpoolFloor(const ThermalTrend& trend, bool enabled) {
    const auto eta = trend.etaMinutes();
    if (!enabled || !eta || *eta > preSpoolStartEta) {
        return 0.0;
    }
    if (*eta < preSpoolFullEta) {
        return preSpoolFullFloor;
    }
    // A straight ramp between the two ends (7 minutes wide, 0.15 high).
    return (preSpoolStartEta - *eta) / 7.0 * 0.15 + preSpoolStartFloor;
}

double slopeAgreeingWith(const ThermalTrend& trend, double perMinute) {
    switch (trend.kind()) {
    case ThermalTrend::Kind::rising:
        return perMinute > 0.0 ? perMinute : 0.0;
    case ThermalTrend::Kind::cooling:
        return perMinute < 0.0 ? perMinute : 0.0;
    case ThermalTrend::Kind::steady:
        return 0.0;
    }
    return 0.0;
}

} // namespace halvoren
