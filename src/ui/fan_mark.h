#pragma once

#include <QColor>
#include <QPainterPath>
#include <QRectF>

class QPainter;

namespace halvoren {

// The program's own mark: a five-bladed fan around a hub, drawn rather than taken from an
// icon font, so the menu-bar item, the spinning glyphs and the app icon are the same shape.
// `bounds` is the square the fan fills; the path is built once per size by the caller's cache.
QPainterPath fanMarkPath(const QRectF& bounds);

// The mark turned clockwise by `angle` radians about its centre, filled with `color`.
void paintFanMark(QPainter& painter, const QRectF& bounds, double angle, const QColor& color);

} // namespace halvoren
