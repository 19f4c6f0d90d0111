#pragma once

#include <QColor>

namespace halvoren::theme {

// An sRGB colour as three unit components, for luminance arithmetic without a QColor.
struct Rgb {
    double r;
    double g;
    double b;
};

// The opaque card colour of the light appearance; text contrast is measured against it.
inline constexpr Rgb lightCardRgb{0.993, 0.985, 0.967};
inline constexpr double textContrastMinimum = 4.5;

// The temperature scale, always in Celsius: blue when cool, amber at 72, red from 85.
// Heat colours belong to temperatures only; accents never take part.
QColor thermalColor(double celsius);

// The same scale on darker anchors for text on a light card, floored to a legible contrast.
// Cached by the half degree from 50 to 85. On the dark appearance the bright scale reads well
// as it is.
QColor thermalTextColor(double celsius, bool darkAppearance = false);
// The name the heat views use for the same colour.
inline QColor heatTextColor(double celsius, bool darkAppearance = false) {
    return thermalTextColor(celsius, darkAppearance);
}

// WCAG 2.x relative luminance and contrast ratio.
double relativeLuminance(Rgb color);
double contrastRatio(Rgb a, Rgb b);

// `color` darkened by steps of 0.975 in brightness until it reaches `minimum` contrast against
// `against`, for at most 40 steps; the last colour is returned either way.
QColor contrastFloored(const QColor& color, Rgb against, double minimum);

} // namespace halvoren::theme
