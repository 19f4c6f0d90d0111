#include "ui/modes/mode_controls.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QPainter>

namespace halvoren {

namespace {

QColor faded(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(color.alphaF() * alpha));
    return color;
}

// The faint glass fill controls share, a little stronger under the pointer.
QColor restingFill(bool hovered) {
    const bool dark = theme::currentAppearance() == theme::Appearance::dark;
    QColor fill = dark ? QColor(Qt::white) : QColor(Qt::black);
    fill.setAlphaF(static_cast<float>((dark ? 0.08 : 0.06) + (hovered ? 0.05 : 0.0)));
    return fill;
}

} // namespace

SymbolSwatch::SymbolSwatch(std::string symbol, QWidget* parent)
    : AccentButton(parent)
    , symbol_(std::move(symbol)) {
    setCheckable(true);
    setAutoExclusive(true);
    setFixedSize(40, 40);
    setAccessibleName(QString::fromStdString(symbol_));
}

void SymbolSwatch::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = theme::currentAppearance();
    const QRectF tile = rect.adjusted(1, 1, -1, -1);
    painter.setPen(isChecked() ? QPen(accent(), 1.5) : Qt::NoPen);
    painter.setBrush(isChecked() ? faded(accent(), 0.2) : restingFill(isHovered()));
    painter.drawRoundedRect(tile, 9.0, 9.0);
    theme::paintSymbol(painter, tile.adjusted(10, 10, -10, -10), symbol_,
                       isChecked() ? accent() : theme::secondaryColor(look));
    paintFocusRing(painter, rect, 9.0);
}

} // namespace halvoren
