#include "ui/components/pressable.h"

#include <QPainter>

namespace halvoren {

QColor hoverLightened(const QColor& color, bool hovered) {
    if (!hovered) {
        return color;
    }
    // Towards white by an eighth, keeping the opacity.
    const float mix = 0.125F;
    return QColor::fromRgbF(color.redF() + (1.0F - color.redF()) * mix,
                            color.greenF() + (1.0F - color.greenF()) * mix,
                            color.blueF() + (1.0F - color.blueF()) * mix, color.alphaF());
}

PressableButton::PressableButton(QWidget* parent)
    : QAbstractButton(parent) {
    setAttribute(Qt::WA_Hover);
    setCursor(Qt::PointingHandCursor);
}

void PressableButton::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isDown()) {
        const QPointF centre = QRectF(rect()).center();
        painter.translate(centre);
        painter.scale(pressedScale, pressedScale);
        painter.translate(-centre);
    }
    paintContent(painter, QRectF(rect()));
}

void PressableButton::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    hovered_ = true;
    update();
}

void PressableButton::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    hovered_ = false;
    update();
}

} // namespace halvoren
