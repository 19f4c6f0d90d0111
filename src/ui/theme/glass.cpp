#include "ui/theme/glass.h"

#include "ui/theme/colors.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace halvoren::theme {

double glassFillOpacity(double frost, Appearance appearance) {
    const double f = std::isnan(frost) ? 0.0 : std::clamp(frost, 0.0, 1.0);
    return appearance == Appearance::light ? 0.74 + 0.22 * f : 0.52 + 0.36 * f;
}

void paintGlassCard(QPainter& painter, const QRectF& rect, double frost, std::optional<QColor> tint,
                    Appearance appearance, bool increasedContrast, double cornerRadius) {
    if (rect.isEmpty()) {
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath card;
    card.addRoundedRect(rect, cornerRadius, cornerRadius);

    QColor fill = cardBackground(appearance);
    fill.setAlphaF(static_cast<float>(glassFillOpacity(frost, appearance)));
    painter.fillPath(card, fill);
    if (tint && tint->isValid()) {
        QColor wash = *tint;
        wash.setAlphaF(appearance == Appearance::light ? 0.07F : 0.12F);
        painter.fillPath(card, wash);
    }
    // Light catching the top edge, as on a pane of glass.
    QLinearGradient sheen(rect.topLeft(), rect.bottomLeft());
    sheen.setColorAt(0.0, QColor(255, 255, 255, appearance == Appearance::light ? 70 : 22));
    sheen.setColorAt(0.35, QColor(255, 255, 255, 0));
    painter.fillPath(card, sheen);

    // A hairline: one device pixel, inset half of one so it stays sharp.
    const double hairline =
        1.0 / std::max(painter.device() ? painter.device()->devicePixelRatioF() : 1.0, 1.0);
    QPen border(borderColor(appearance, increasedContrast), hairline);
    painter.setPen(border);
    painter.setBrush(Qt::NoBrush);
    const double inset = hairline / 2.0;
    painter.drawRoundedRect(rect.adjusted(inset, inset, -inset, -inset), cornerRadius - inset,
                            cornerRadius - inset);
    painter.restore();
}

} // namespace halvoren::theme
