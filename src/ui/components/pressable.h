#pragma once

#include <QAbstractButton>
#include <QColor>

namespace halvoren {

// A pressed control shrinks a little, as if pushed into the glass.
inline constexpr double pressedScale = 0.97;

// `color` a touch lighter while hovered; unchanged otherwise.
QColor hoverLightened(const QColor& color, bool hovered);

// The base of custom-drawn buttons: it scales its content to `pressedScale` while pressed and
// lets subclasses lighten on hover. Subclasses paint their content in `paintContent`.
class PressableButton : public QAbstractButton {
public:
    explicit PressableButton(QWidget* parent = nullptr);

    bool isHovered() const { return hovered_; }

protected:
    virtual void paintContent(QPainter& painter, const QRectF& rect) = 0;

    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    bool hovered_ = false;
};

} // namespace halvoren
