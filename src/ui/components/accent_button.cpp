#include "ui/components/accent_button.h"

#include <QFocusEvent>
#include <QKeyEvent>
#include <QPainter>

namespace halvoren {

AccentButton::AccentButton(QWidget* parent)
    : PressableButton(parent) {
    setFocusPolicy(Qt::StrongFocus);
    // Rows share the panel's fixed width rather than push it wider.
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void AccentButton::setAccent(const QColor& accent) {
    accent_ = accent;
    update();
}

void AccentButton::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        event->accept();
        return;
    }
    PressableButton::keyPressEvent(event);
}

void AccentButton::focusInEvent(QFocusEvent* event) {
    keyboardFocus_ = event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    PressableButton::focusInEvent(event);
}

void AccentButton::focusOutEvent(QFocusEvent* event) {
    keyboardFocus_ = false;
    PressableButton::focusOutEvent(event);
}

void AccentButton::paintFocusRing(QPainter& painter, const QRectF& rect, double radius) const {
    if (!hasFocus() || !keyboardFocus_) {
        return;
    }
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(QColor(accent_.red(), accent_.green(), accent_.blue(), 217), 2.0));
    painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), radius, radius);
}

} // namespace halvoren
