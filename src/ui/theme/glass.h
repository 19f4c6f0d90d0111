#pragma once

#include "ui/theme/appearance.h"

#include <QColor>
#include <QRectF>
#include <optional>

class QPainter;

namespace halvoren::theme {

inline constexpr double cardCornerRadius = 14.0;

// How opaque a glass card's fill is for a frost setting (clamped to 0...1): the backdrop
// shows through less as frost rises.
double glassFillOpacity(double frost, Appearance appearance);

// A rounded translucent card with a faint top sheen and a hairline border; `tint` washes the
// fill lightly. With increased contrast the border is the primary colour at 0.35.
void paintGlassCard(QPainter& painter, const QRectF& rect, double frost, std::optional<QColor> tint,
                    Appearance appearance, bool increasedContrast, double cornerRadius = cardCornerRadius);

} // namespace halvoren::theme
