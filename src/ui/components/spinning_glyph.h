#pragma once

#include <QColor>
#include <QElapsedTimer>
#include <QTimer>
#include <QWidget>
#include <optional>
#include <string>

namespace halvoren {

// The turning state of a glyph whose speed changes smoothly: it spins up and coasts down over
// about a quarter of a second, and a long gap between redraws cannot make it jump.
struct SpinPhase {
    static constexpr double restVelocity = 0.01;
    static constexpr double maxStep = 0.1;

    double angle = 0.0;
    double velocity = 0.0;
    std::optional<double> lastTime;

    // Moves to time `now` (seconds) toward `target` radians per second; returns the angle.
    double advance(double now, double target, bool reduceMotion);
    bool atRest(double target) const;
};

// A symbol (usually the fan) turning at `angularVelocity`. It redraws at most twelve times a
// second, and not at all while at rest, hidden, or with reduced motion.
class SpinningGlyph : public QWidget {
public:
    explicit SpinningGlyph(std::string symbol = "fan.fill", QWidget* parent = nullptr);

    void setAngularVelocity(double radiansPerSecond);
    void setColor(const QColor& color);
    void setReduceMotion(bool reduce);

    const SpinPhase& phase() const { return phase_; }
    bool isAnimating() const { return timer_.isActive(); }
    // One redraw step at `now` seconds; the timer calls it with the widget's own clock.
    void advance(double now);

    QSize sizeHint() const override { return {16, 16}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void schedule();

    std::string symbol_;
    double target_ = 0.0;
    QColor color_;
    bool reduceMotion_;
    SpinPhase phase_;
    QTimer timer_;
    QElapsedTimer clock_;
};

} // namespace halvoren
