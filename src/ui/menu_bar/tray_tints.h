#pragma once

#include <QColor>
#include <optional>

namespace halvoren::TrayTints {

// The icon's colour for a spin tier, in the platform's green, yellow, orange and red for a
// light or a dark tray; none below tier 1 or above 5, where the icon takes `plainColor`.
std::optional<QColor> tierColor(int tier, bool darkTray);

// The untinted icon: black on a light tray, white on a dark one, slightly translucent as
// the tray's own monochrome icons are.
QColor plainColor(bool darkTray);

// `from` moved `fraction` (0 ... 1) of the way to `to`, alpha included.
QColor blend(const QColor& from, const QColor& to, double fraction);

} // namespace halvoren::TrayTints
