#include "ui/fan_mark.h"

#include <QPainter>
#include <QTransform>
#include <cmath>
#include <numbers>

namespace halvoren {

namespace {

constexpr int bladeCount = 5;

// One blade pointing up from the hub: a swept teardrop whose leading edge curves with the
// direction of turning, in a unit box centred on the hub.
QPainterPath unitBlade() {
    QPainterPath blade;
    blade.moveTo(-0.12, -0.16);
    blade.cubicTo(-0.50, -0.42, -0.42, -0.92, 0.04, -0.97);
    blade.cubicTo(0.34, -0.97, 0.44, -0.66, 0.20, -0.48);
    blade.cubicTo(0.10, -0.40, 0.12, -0.26, 0.14, -0.14);
    blade.closeSubpath();
    return blade;
}

} // namespace

QPainterPath fanMarkPath(const QRectF& bounds) {
    const double radius = std::min(bounds.width(), bounds.height()) / 2.0;
    const QPointF centre = bounds.center();
    const QPainterPath blade = unitBlade();
    QPainterPath blades;
    for (int i = 0; i < bladeCount; ++i) {
        QTransform turn;
        turn.translate(centre.x(), centre.y());
        turn.rotate(360.0 * i / bladeCount);
        turn.scale(radius, radius);
        blades.addPath(turn.map(blade));
    }
    QPainterPath hub;
    hub.addEllipse(centre, radius * 0.26, radius * 0.26);
    QPainterPath axle;
    axle.addEllipse(centre, radius * 0.08, radius * 0.08);
    return blades.united(hub).subtracted(axle);
}

void paintFanMark(QPainter& painter, const QRectF& bounds, double angle, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(bounds.center());
    // Clockwise on screen, whose y axis points down.
    painter.rotate(angle * 180.0 / std::numbers::pi);
    painter.translate(-bounds.center());
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawPath(fanMarkPath(bounds));
    painter.restore();
}

} // namespace halvoren
