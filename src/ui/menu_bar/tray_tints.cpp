#include "ui/menu_bar/tray_tints.h"

#include <algorithm>
#include <cmath>

namespace halvoren {

namespace {

// The system colours of the two appearances; the dark ones are lighter so they read on a dark bar.
struct Swatch {
    QColor light;
    QColor dark;
};
const Swatch green{QColor(52, 199, 89), QColor(48, 209, 88)};
const Swatch yellow{QColor(255, 204, 0), QColor(255, 214, 10)};
const Swatch orange{QColor(255, 149, 0), QColor(255, 159, 10)};
const Swatch red{QColor(255, 59, 48), QColor(255, 69, 58)};

// Tier 2 sits between green and yellow, nearer yellow.
constexpr double tierTwoBlend = 0.55;

int channel(int from, int to, double fraction) {
    return std::clamp(static_cast<int>(std::lround(from + (to - from) * fraction)), 0, 255);
}

} // namespace

std::optional<QColor> TrayTints::tierColor(int tier, bool darkTray) {
    const auto pick = [darkTray](const Swatch& swatch) { return darkTray ? swatch.dark : swatch.light; };
    switch (tier) {
    case 1:
        return pick(green);
    case 2:
        return blend(pick(green), pick(yellow), tierTwoBlend);
    case 3:
        return pick(yellow);
    case 4:
        return pick(orange);
    case 5:
        return pick(red);
    default:
        return std::nullopt;
    }
}

QColor TrayTints::plainColor(bool darkTray) {
    return darkTray ? QColor(255, 255, 255, 235) : QColor(0, 0, 0, 217);
}

QColor TrayTints::blend(const QColor& from, const QColor& to, double fraction) {
    const double f = fraction > 0.0 ? std::min(fraction, 1.0) : 0.0; // NaN: no way at all
    return {channel(from.red(), to.red(), f), channel(from.green(), to.green(), f),
            channel(from.blue(), to.blue(), f), channel(from.alpha(), to.alpha(), f)};
}

} // namespace halvoren
