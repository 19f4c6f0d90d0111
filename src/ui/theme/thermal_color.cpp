#include "ui/theme/thermal_color.h"

#include <QHash>
#include <algorithm>
#include <cmath>

namespace halvoren::theme {

namespace {

struct Hsb {
    double hue;
    double saturation;
};

// The hue and saturation of the scale; the anchors are 50 (blue), 72 (amber) and 85 (red).
// A NaN reading falls to the cool end.
Hsb thermalHsb(double c) {
    if (!(c > 50.0)) {
        return {0.548, 0.608};
    }
    if (c <= 72.0) {
        const double t = std::clamp((c - 50.0) / 22.0, 0.0, 1.0);
        return {0.548 - 0.447 * t, 0.608 + 0.353 * t};
    }
    if (c < 85.0) {
        const double u = std::clamp((c - 72.0) / 13.0, 0.0, 1.0);
        return {0.101 - 0.092 * u, 0.961 - 0.188 * u};
    }
    return {0.009, 0.773};
}

// Text brightness: darker than the swatch scale, deepest in the amber where the bright
// colour is least legible on a light card.
double textBrightness(double c) {
    if (!(c > 50.0)) {
        return 0.62;
    }
    if (c <= 72.0) {
        return 0.62 - 0.06 * std::clamp((c - 50.0) / 22.0, 0.0, 1.0);
    }
    return 0.56 + 0.12 * std::clamp((c - 72.0) / 13.0, 0.0, 1.0);
}

double linearised(double channel) {
    return channel <= 0.03928 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

Rgb rgbOf(const QColor& color) {
    return {color.redF(), color.greenF(), color.blueF()};
}

QColor darkTextColor(double celsius) {
    const Hsb hsb = thermalHsb(celsius);
    return contrastFloored(QColor::fromHsvF(static_cast<float>(hsb.hue), static_cast<float>(hsb.saturation),
                                            static_cast<float>(textBrightness(celsius))),
                           lightCardRgb, textContrastMinimum);
}

} // namespace

QColor thermalColor(double celsius) {
    const Hsb hsb = thermalHsb(celsius);
    return QColor::fromHsvF(static_cast<float>(hsb.hue), static_cast<float>(hsb.saturation), 1.0F);
}

QColor thermalTextColor(double celsius, bool darkAppearance) {
    if (darkAppearance) {
        return thermalColor(celsius);
    }
    if (!(celsius >= 50.0 && celsius <= 85.0)) {
        return darkTextColor(celsius);
    }
    // Views ask many times a second for a handful of values; the contrast floor loops.
    static QHash<int, QColor> cache;
    const int key = static_cast<int>(std::lround(celsius * 2.0));
    const auto found = cache.constFind(key);
    if (found != cache.constEnd()) {
        return *found;
    }
    const QColor color = darkTextColor(key * 0.5);
    cache.insert(key, color);
    return color;
}

double relativeLuminance(Rgb color) {
    return 0.2126 * linearised(color.r) + 0.7152 * linearised(color.g) + 0.0722 * linearised(color.b);
}

double contrastRatio(Rgb a, Rgb b) {
    const double la = relativeLuminance(a);
    const double lb = relativeLuminance(b);
    return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

QColor contrastFloored(const QColor& color, Rgb against, double minimum) {
    QColor current = color;
    for (int step = 0; step < 40 && contrastRatio(rgbOf(current), against) < minimum; ++step) {
        current = QColor::fromHsvF(current.hsvHueF(), current.hsvSaturationF(), current.valueF() * 0.975F,
                                   current.alphaF());
    }
    return current;
}

} // namespace halvoren::theme
