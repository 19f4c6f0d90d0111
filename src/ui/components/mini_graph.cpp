#include "ui/components/mini_graph.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/thermal_color.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace halvoren {

namespace {

constexpr double samplePeriod = 1.0;
constexpr double dotSize = 3.0;
constexpr int thermalStops = 8;

} // namespace

bool MiniGraphScroll::hasNewSample(const MiniGraphInput& input) const {
    if (input.sampleClock) {
        return input.sampleClock != lastClock;
    }
    if (input.samples.size() != lastCount) {
        return true;
    }
    return !input.samples.empty() && input.samples.back() != lastRawValue;
}

bool MiniGraphScroll::isPaused(const MiniGraphInput& input) const {
    return input.samples.size() < 2 || (atRest && !hasNewSample(input));
}

void MiniGraphScroll::noteSamples(const MiniGraphInput& input, double now) {
    if (!hasNewSample(input)) {
        return;
    }
    lastSampleTime = now;
    lastCount = input.samples.size();
    lastRawValue = input.samples.empty() ? std::nullopt : std::optional(input.samples.back());
    lastClock = input.sampleClock;
    atRest = false;
}

double MiniGraphScroll::easedNewest(double target, double now) {
    if (!displayedNewest) {
        displayedNewest = target;
        lastEaseTime = now;
        return target;
    }
    const double dt = std::min(now - lastEaseTime, 0.1);
    lastEaseTime = now;
    if (dt > 0.0) {
        *displayedNewest +=
            (target - *displayedNewest) * std::clamp(1.0 - std::exp(-easeRate * dt), 0.0, 1.0);
    }
    return *displayedNewest;
}

double MiniGraphScroll::scrolled(double now, double period) const {
    if (!lastSampleTime || !(period > 0.0)) {
        return 1.0;
    }
    return std::clamp((now - *lastSampleTime) / period, 0.0, 1.0);
}

double MiniGraphScroll::frame(const MiniGraphInput& input, double now, double period) {
    noteSamples(input, now);
    if (input.samples.empty()) {
        atRest = true;
        return 0.0;
    }
    const double target = input.samples.back();
    if (input.reduceMotion) {
        displayedNewest = target;
        lastEaseTime = now;
        atRest = true;
        return target;
    }
    const double shown = easedNewest(target, now);
    const ClosedRange span = miniGraphRange(input.samples, input.range);
    atRest = scrolled(now, period) >= 1.0 &&
             std::abs(shown - target) <= restShareOfSpan * (span.upper - span.lower);
    return shown;
}

ClosedRange miniGraphRange(const std::vector<double>& samples, std::optional<ClosedRange> range) {
    ClosedRange result{0.0, 0.0};
    if (range) {
        result = *range;
    } else if (!samples.empty()) {
        const auto [low, high] = std::minmax_element(samples.begin(), samples.end());
        result = {*low, *high};
    }
    if (!(result.upper - result.lower >= 1e-6)) {
        result.upper = result.lower + 1e-6;
    }
    return result;
}

MiniGraph::MiniGraph(QWidget* parent)
    : QWidget(parent)
    , tint_(theme::accentColor(AccentChoice::sky))
    , reduceMotion_(theme::prefersReducedMotion()) {
    timer_.setInterval(1000 / 30);
    clock_.start();
    connect(&timer_, &QTimer::timeout, this, [this] { advance(now()); });
}

MiniGraphInput MiniGraph::input() const {
    return {samples_, sampleClock_, range_, reduceMotion_};
}

double MiniGraph::now() const {
    return static_cast<double>(clock_.nsecsElapsed()) * 1e-9;
}

void MiniGraph::setSamples(std::vector<double> samples, std::optional<int> sampleClock) {
    samples_ = std::move(samples);
    sampleClock_ = sampleClock;
    advance(now());
}

void MiniGraph::setRange(std::optional<ClosedRange> range) {
    range_ = range;
    update();
}

void MiniGraph::setTint(const QColor& tint) {
    tint_ = tint;
    update();
}

void MiniGraph::setLineWidth(double width) {
    lineWidth_ = width;
    update();
}

void MiniGraph::setShowFill(bool show) {
    showFill_ = show;
    update();
}

void MiniGraph::setThermal(bool thermal) {
    thermal_ = thermal;
    update();
}

void MiniGraph::setReduceMotion(bool reduce) {
    reduceMotion_ = reduce;
    advance(now());
}

void MiniGraph::advance(double now) {
    shownNewest_ = scroll_.frame(input(), now, samplePeriod);
    // Two points cannot scroll: the older would leave the graph empty.
    shownScroll_ = reduceMotion_ || samples_.size() < 3 ? 1.0 : scroll_.scrolled(now, samplePeriod);
    update();
    schedule();
}

void MiniGraph::schedule() {
    const bool moving = isVisible() && !scroll_.isPaused(input());
    if (moving && !timer_.isActive()) {
        timer_.start();
    } else if (!moving) {
        timer_.stop();
    }
}

void MiniGraph::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    schedule();
}

void MiniGraph::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    schedule();
}

void MiniGraph::paintEvent(QPaintEvent* /*event*/) {
    const std::size_t n = samples_.size();
    if (n < 2) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double pixel = 1.0 / std::max(devicePixelRatioF(), 1.0);
    const double inset = std::max(lineWidth_, dotSize) / 2.0;
    const QRectF area = QRectF(rect()).adjusted(0.0, inset, -inset, -inset - pixel);
    const ClosedRange span = miniGraphRange(samples_, range_);
    const auto yOf = [&](double value) {
        const double share = std::clamp((value - span.lower) / (span.upper - span.lower), 0.0, 1.0);
        return area.bottom() - share * area.height();
    };
    const double step = area.width() / static_cast<double>(std::max<std::size_t>(n - 2, 1));
    std::vector<QPointF> points(n);
    for (std::size_t i = 0; i < n; ++i) {
        const double value = i + 1 == n ? shownNewest_ : samples_[i];
        const double stepsBack = static_cast<double>(n - 1 - i) - (1.0 - shownScroll_);
        points[i] = {area.right() - stepsBack * step, yOf(value)};
    }

    // Through the midpoints, with each sample as a control point: smooth, and never beyond
    // the samples' own range.
    QPainterPath line(points.front());
    line.lineTo((points[0] + points[1]) / 2.0);
    for (std::size_t i = 1; i + 1 < n; ++i) {
        line.quadTo(points[i], (points[i] + points[i + 1]) / 2.0);
    }
    line.lineTo(points.back());

    painter.setClipRect(QRectF(rect()));
    if (showFill_) {
        QPainterPath fill = line;
        fill.lineTo(points.back().x(), area.bottom());
        fill.lineTo(points.front().x(), area.bottom());
        fill.closeSubpath();
        QLinearGradient shade(0.0, area.top(), 0.0, area.bottom());
        QColor top = tint_;
        top.setAlphaF(0.32F);
        QColor bottom = tint_;
        bottom.setAlphaF(0.02F);
        shade.setColorAt(0.0, top);
        shade.setColorAt(1.0, bottom);
        painter.fillPath(fill, shade);
    }

    QColor baseline = theme::primaryColor(theme::currentAppearance());
    baseline.setAlphaF(0.14F);
    painter.fillRect(QRectF(area.left(), area.bottom() + pixel / 2.0, area.width() + inset, pixel), baseline);

    QPen pen(tint_, lineWidth_, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    if (thermal_) {
        QLinearGradient heat(0.0, area.bottom(), 0.0, area.top());
        for (int k = 0; k <= thermalStops; ++k) {
            const double share = static_cast<double>(k) / thermalStops;
            heat.setColorAt(share, theme::thermalColor(span.lower + share * (span.upper - span.lower)));
        }
        pen.setBrush(heat);
    }
    painter.strokePath(line, pen);

    // While the newest point is still sliding in from the right, the dot rides the curve at
    // the edge.
    QPointF newest = points.back();
    const QPointF before = points[n - 2];
    if (newest.x() > area.right() && newest.x() > before.x()) {
        const double t = (area.right() - before.x()) / (newest.x() - before.x());
        newest = before + (newest - before) * std::clamp(t, 0.0, 1.0);
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(thermal_ ? theme::thermalColor(shownNewest_) : tint_);
    painter.drawEllipse(QRectF(newest.x() - dotSize / 2.0, newest.y() - dotSize / 2.0, dotSize, dotSize));
}

} // namespace halvoren
