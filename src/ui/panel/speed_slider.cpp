#include "ui/panel/speed_slider.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace halvoren {

namespace {

constexpr double knobRadius = 8.0;
constexpr double trackHeight = 5.0;

} // namespace

SpeedSlider::SpeedSlider(QWidget* parent)
    : QAbstractSlider(parent) {
    setOrientation(Qt::Horizontal);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    setMinimumHeight(22);
    setAttribute(Qt::WA_TranslucentBackground);
}

void SpeedSlider::setAccent(const QColor& accent) {
    accent_ = accent;
    update();
}

double SpeedSlider::fraction() const {
    const int span = maximum() - minimum();
    return span > 0 ? std::clamp(double(sliderPosition() - minimum()) / span, 0.0, 1.0) : 0.0;
}

int SpeedSlider::valueAt(double x) const {
    const double usable = std::max(width() - 2.0 * knobRadius, 1.0);
    const double f = std::clamp((x - knobRadius) / usable, 0.0, 1.0);
    return minimum() + static_cast<int>(std::lround(f * (maximum() - minimum())));
}

void SpeedSlider::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance appearance = theme::currentAppearance();
    const QColor primary = theme::primaryColor(appearance);
    const double y = height() / 2.0;
    const double left = knobRadius;
    const double usable = std::max(width() - 2.0 * knobRadius, 1.0);
    const QRectF track(left, y - trackHeight / 2.0, usable, trackHeight);

    QColor base = primary;
    base.setAlphaF(0.12F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(base);
    painter.drawRoundedRect(track, trackHeight / 2.0, trackHeight / 2.0);

    const double knobX = left + fraction() * usable;
    QColor fill = accent_;
    if (!isEnabled()) {
        fill.setAlphaF(0.35F);
    }
    painter.setBrush(fill);
    painter.drawRoundedRect(QRectF(track.left(), track.top(), knobX - track.left(), trackHeight),
                            trackHeight / 2.0, trackHeight / 2.0);

    // The knob: white with a soft shadow, and the accent ring when it has the focus.
    painter.setBrush(QColor(0, 0, 0, 40));
    painter.drawEllipse(QPointF(knobX, y + 1.0), knobRadius, knobRadius);
    painter.setBrush(isSliderDown() ? QColor(0xF2, 0xF2, 0xF4) : QColor(Qt::white));
    painter.setPen(QPen(hasFocus() ? accent_ : QColor(0, 0, 0, 45), hasFocus() ? 2.0 : 0.75));
    painter.drawEllipse(QPointF(knobX, y), knobRadius - 0.5, knobRadius - 0.5);
}

void SpeedSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    setSliderDown(true);
    setSliderPosition(valueAt(event->position().x()));
    event->accept();
}

void SpeedSlider::mouseMoveEvent(QMouseEvent* event) {
    if (isSliderDown()) {
        setSliderPosition(valueAt(event->position().x()));
    }
}

void SpeedSlider::mouseReleaseEvent(QMouseEvent* event) {
    if (isSliderDown() && event->button() == Qt::LeftButton) {
        setSliderPosition(valueAt(event->position().x()));
        setSliderDown(false);
    }
}

void SpeedSlider::keyPressEvent(QKeyEvent* event) {
    const int step = std::max((maximum() - minimum()) / 20, 1);
    int delta = 0;
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Down:
        delta = -step;
        break;
    case Qt::Key_Right:
    case Qt::Key_Up:
        delta = step;
        break;
    case Qt::Key_Home:
        delta = minimum() - sliderPosition();
        break;
    case Qt::Key_End:
        delta = maximum() - sliderPosition();
        break;
    default:
        QAbstractSlider::keyPressEvent(event);
        return;
    }
    setSliderDown(true);
    setSliderPosition(std::clamp(sliderPosition() + delta, minimum(), maximum()));
    setSliderDown(false);
    event->accept();
}

} // namespace halvoren
