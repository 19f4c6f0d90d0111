#pragma once

#include "ui/components/accent_button.h"

#include <QElapsedTimer>
#include <QTimer>
#include <functional>
#include <optional>

namespace halvoren {

// A press that counts only once held for `duration` seconds; letting go sooner does nothing.
struct PressAndHold {
    double duration = 1.2;
    std::optional<double> pressedAt;

    void press(double now);
    void release() { pressedAt.reset(); }
    // 0 ... 1 of the way to completion; 0 while not pressed.
    double progress(double now) const;
    // True once, at the first moment the hold has lasted long enough; the press then ends.
    bool advance(double now);
};

// A button that acts after a deliberate press-and-hold (mouse, Space or Return), filling as it
// is held. Assistive technology's press acts at once, as it cannot hold.
class HoldButton : public AccentButton {
public:
    HoldButton(QString title, double duration, QWidget* parent = nullptr);

    void setOnCompleted(std::function<void()> completed) { completed_ = std::move(completed); }
    const PressAndHold& hold() const { return hold_; }
    // One step at `now` seconds; the timer calls it with the button's own clock.
    void advance(double now);
    void beginHold(double now);
    void endHold();

    QSize sizeHint() const override { return {160, 34}; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    double now() const;
    void complete();

    QString title_;
    PressAndHold hold_;
    std::function<void()> completed_;
    QTimer timer_;
    QElapsedTimer clock_;
    double shownProgress_ = 0.0;
};

} // namespace halvoren
