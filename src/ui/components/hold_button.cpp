#include "ui/components/hold_button.h"

#include "ui/theme/fonts.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

namespace halvoren {

void PressAndHold::press(double now) {
    pressedAt = now;
}

double PressAndHold::progress(double now) const {
    if (!pressedAt || duration <= 0.0) {
        return pressedAt ? 1.0 : 0.0;
    }
    return std::clamp((now - *pressedAt) / duration, 0.0, 1.0);
}

bool PressAndHold::advance(double now) {
    // A hold of exactly the duration counts, whatever the rounding of the clock's seconds.
    if (!pressedAt || now - *pressedAt < duration - 1e-9) {
        return false;
    }
    pressedAt.reset();
    return true;
}

HoldButton::HoldButton(QString title, double duration, QWidget* parent)
    : AccentButton(parent)
    , title_(std::move(title)) {
    hold_.duration = duration;
    setAccessibleName(title_);
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Fixed);
    timer_.setInterval(16);
    connect(&timer_, &QTimer::timeout, this, [this] { advance(now()); });
    // Reached only through assistive technology or code: pointer and keys are held instead.
    connect(this, &QAbstractButton::clicked, this, [this] { complete(); });
    clock_.start();
}

double HoldButton::now() const {
    return static_cast<double>(clock_.nsecsElapsed()) / 1e9;
}

void HoldButton::beginHold(double now) {
    hold_.press(now);
    shownProgress_ = 0.0;
    timer_.start();
    update();
}

void HoldButton::endHold() {
    hold_.release();
    timer_.stop();
    shownProgress_ = 0.0;
    update();
}

void HoldButton::advance(double now) {
    shownProgress_ = hold_.progress(now);
    update();
    if (hold_.advance(now)) {
        complete();
    }
}

void HoldButton::complete() {
    timer_.stop();
    shownProgress_ = 0.0;
    update();
    if (completed_) {
        completed_();
    }
}

void HoldButton::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        setDown(true);
        beginHold(now());
    }
    event->accept();
}

void HoldButton::mouseReleaseEvent(QMouseEvent* event) {
    setDown(false);
    endHold();
    event->accept();
}

void HoldButton::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    if (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter) {
        if (!event->isAutoRepeat()) {
            setDown(true);
            beginHold(now());
        }
        event->accept();
        return;
    }
    AccentButton::keyPressEvent(event);
}

void HoldButton::keyReleaseEvent(QKeyEvent* event) {
    const int key = event->key();
    if (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter) {
        if (!event->isAutoRepeat()) {
            setDown(false);
            endHold();
        }
        event->accept();
        return;
    }
    AccentButton::keyReleaseEvent(event);
}

void HoldButton::paintContent(QPainter& painter, const QRectF& rect) {
    const double radius = rect.height() / 2.0;
    QColor base = accent();
    base.setAlphaF(0.22F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(hoverLightened(base, isHovered()));
    painter.drawRoundedRect(rect, radius, radius);
    if (shownProgress_ > 0.0) {
        painter.save();
        painter.setClipRect(QRectF(rect.left(), rect.top(), rect.width() * shownProgress_, rect.height()));
        painter.setBrush(accent());
        painter.drawRoundedRect(rect, radius, radius);
        painter.restore();
    }
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.setPen(shownProgress_ > 0.5 ? QColor(Qt::white)
                                        : accent().darker(shownProgress_ > 0.0 ? 100 : 110));
    painter.drawText(rect, Qt::AlignCenter, title_);
    paintFocusRing(painter, rect, radius);
}

} // namespace halvoren
