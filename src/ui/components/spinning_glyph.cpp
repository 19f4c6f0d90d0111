#include "ui/components/spinning_glyph.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/symbols.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace halvoren {

double SpinPhase::advance(double now, double target, bool reduceMotion) {
    if (reduceMotion) {
        angle = 0.0;
        velocity = 0.0;
        lastTime.reset();
        return angle;
    }
    const double dt = lastTime ? std::clamp(now - *lastTime, 0.0, maxStep) : 0.0;
    lastTime = now;
    velocity += (target - velocity) * std::min(1.0 - std::exp(-4.0 * dt), 1.0);
    if (atRest(target)) {
        velocity = 0.0;
    }
    angle = std::fmod(angle + dt * velocity, 2.0 * std::numbers::pi);
    return angle;
}

bool SpinPhase::atRest(double target) const {
    return std::abs(target) < restVelocity && std::abs(velocity) < restVelocity;
}

SpinningGlyph::SpinningGlyph(std::string symbol, QWidget* parent)
    : QWidget(parent)
    , symbol_(std::move(symbol))
    , color_(theme::primaryColor(theme::currentAppearance()))
    , reduceMotion_(theme::prefersReducedMotion()) {
    timer_.setInterval(1000 / 12 + 1);
    clock_.start();
    connect(&timer_, &QTimer::timeout, this,
            [this] { advance(static_cast<double>(clock_.nsecsElapsed()) * 1e-9); });
}

void SpinningGlyph::setAngularVelocity(double radiansPerSecond) {
    target_ = std::isfinite(radiansPerSecond) ? radiansPerSecond : 0.0;
    schedule();
}

void SpinningGlyph::setColor(const QColor& color) {
    if (color != color_) {
        color_ = color;
        update();
    }
}

void SpinningGlyph::setReduceMotion(bool reduce) {
    reduceMotion_ = reduce;
    if (reduce) {
        phase_.advance(0.0, target_, true);
        update();
    }
    schedule();
}

void SpinningGlyph::advance(double now) {
    phase_.advance(now, target_, reduceMotion_);
    update();
    schedule();
}

void SpinningGlyph::schedule() {
    const bool moving = isVisible() && !reduceMotion_ && !phase_.atRest(target_);
    if (moving && !timer_.isActive()) {
        timer_.start();
    } else if (!moving) {
        timer_.stop();
    }
}

void SpinningGlyph::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    theme::paintSymbol(painter, QRectF(rect()), symbol_, color_, phase_.angle);
}

void SpinningGlyph::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    schedule();
}

void SpinningGlyph::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    schedule();
}

} // namespace halvoren
