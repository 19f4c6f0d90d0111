#pragma once

#include "ui/components/pressable.h"

#include <QColor>

namespace halvoren {

// The base of the program's own buttons: Return and Enter press it as Space does, and it draws
// an accent ring while it has the keyboard focus. `onPressed` runs on each click.
class AccentButton : public PressableButton {
public:
    explicit AccentButton(QWidget* parent = nullptr);

    void setAccent(const QColor& accent);
    const QColor& accent() const { return accent_; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    // The focus ring, shown only while the focus came from the keyboard around `rect`, drawn last.
    void paintFocusRing(QPainter& painter, const QRectF& rect, double radius) const;

private:
    QColor accent_{0x1A, 0x94, 0xFA};
    bool keyboardFocus_ = false;
};

} // namespace halvoren
