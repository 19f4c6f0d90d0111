#pragma once

#include <QAbstractSlider>
#include <QColor>

namespace halvoren {

// A thin glass track with an accent fill and a round knob. The position follows the pointer
// while dragging (`sliderMoved`), and `sliderReleased` ends a drag. Keys move it by steps and
// count as a release, so the keyboard commits as the pointer does.
class SpeedSlider : public QAbstractSlider {
public:
    explicit SpeedSlider(QWidget* parent = nullptr);

    void setAccent(const QColor& accent);
    QSize sizeHint() const override { return {200, 22}; }
    QSize minimumSizeHint() const override { return {60, 22}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    int valueAt(double x) const;
    double fraction() const;

    QColor accent_{0x1A, 0x94, 0xFA};
};

} // namespace halvoren
