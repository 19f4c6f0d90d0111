#pragma once

#include "core/closed_range.h"

#include <QColor>
#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <optional>
#include <vector>

namespace halvoren {

// What a MiniGraph is asked to draw at one moment.
struct MiniGraphInput {
    const std::vector<double>& samples;
    std::optional<int> sampleClock = std::nullopt;
    std::optional<ClosedRange> range = std::nullopt;
    bool reduceMotion = false;
};

// The scrolling state of a small graph that slides smoothly between once-a-second samples
// instead of jumping, and rests (no redraws) once it has caught up.
struct MiniGraphScroll {
    static constexpr double easeRate = 10.0;
    static constexpr double restShareOfSpan = 0.002;

    std::optional<double> lastSampleTime;
    std::size_t lastCount = 0;
    std::optional<double> lastRawValue;
    std::optional<int> lastClock;
    std::optional<double> displayedNewest;
    double lastEaseTime = 0.0;
    bool atRest = false;

    // A sample arrived since the last note: a changed clock if the graph has one, otherwise a
    // changed count or newest value.
    bool hasNewSample(const MiniGraphInput& input) const;
    bool isPaused(const MiniGraphInput& input) const;
    // Records a new sample's arrival at `now`, waking the graph.
    void noteSamples(const MiniGraphInput& input, double now);
    // The newest point's shown value, eased toward `target`.
    double easedNewest(double target, double now);
    // The share of one step scrolled since the newest sample came, 0...1.
    double scrolled(double now, double samplePeriod) const;
    // Advances to `now` and returns the newest point's shown value; sets `atRest`.
    double frame(const MiniGraphInput& input, double now, double samplePeriod);
};

// The shown vertical range: `range` if given, else the samples' own, never thinner than 1e-6.
ClosedRange miniGraphRange(const std::vector<double>& samples, std::optional<ClosedRange> range);

// A small line graph of recent samples: smooth curve, hairline baseline, optional fill and
// temperature-coloured line, and a dot on the newest point. Redraws thirty times a second
// while it scrolls, and not at all when paused or hidden.
class MiniGraph : public QWidget {
public:
    explicit MiniGraph(QWidget* parent = nullptr);

    void setSamples(std::vector<double> samples, std::optional<int> sampleClock = std::nullopt);
    void setRange(std::optional<ClosedRange> range);
    void setTint(const QColor& tint);
    void setLineWidth(double width);
    void setShowFill(bool show);
    void setThermal(bool thermal);
    void setReduceMotion(bool reduce);

    const MiniGraphScroll& scroll() const { return scroll_; }
    bool isAnimating() const { return timer_.isActive(); }
    // One redraw step at `now` seconds; the timer calls it with the widget's own clock.
    void advance(double now);

    QSize sizeHint() const override { return {120, 36}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    MiniGraphInput input() const;
    double now() const;
    void schedule();

    std::vector<double> samples_;
    std::optional<int> sampleClock_;
    std::optional<ClosedRange> range_;
    QColor tint_;
    double lineWidth_ = 1.5;
    bool showFill_ = true;
    bool thermal_ = false;
    bool reduceMotion_;
    MiniGraphScroll scroll_;
    double shownNewest_ = 0.0;
    double shownScroll_ = 1.0;
    QTimer timer_;
    QElapsedTimer clock_;
};

} // namespace halvoren
