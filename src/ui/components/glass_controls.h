#pragma once

#include "ui/components/accent_button.h"

#include <QComboBox>
#include <QString>
#include <optional>
#include <string>

namespace halvoren {

// An on/off switch: a pill with a sliding knob, filled with the accent while on. Space, Return
// and a click flip it.
class ToggleSwitch : public AccentButton {
public:
    explicit ToggleSwitch(const QString& accessibleName, QWidget* parent = nullptr);
    static constexpr QSize size{42, 24};
    QSize sizeHint() const override { return size; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;
};

// A push button with a title: a quiet glass pill, filled with the accent when prominent, or red
// for an action that destroys. It fades while disabled.
class ActionButton : public AccentButton {
public:
    enum class Style { quiet, prominent, destructive };

    ActionButton(QString title, Style style, QWidget* parent = nullptr);
    void setTitle(QString title);
    const QString& title() const { return title_; }
    QSize sizeHint() const override;

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;
    void changeEvent(QEvent* event) override;

private:
    QString title_;
    Style style_;
};

// A capsule holding a symbol and a short text, tinted; sized to its content.
class StatusBadge : public QWidget {
public:
    explicit StatusBadge(QWidget* parent = nullptr);
    void setContent(QString text, std::string symbol, std::optional<QColor> tint = std::nullopt);
    const QString& text() const { return text_; }
    const std::string& symbol() const { return symbol_; }
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString text_;
    std::string symbol_;
    std::optional<QColor> tint_;
};

// A menu button in the glass style with the up-and-down chevron at its right end.
class PickerBox : public QComboBox {
public:
    explicit PickerBox(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

// The style sheet of a glass field of `type` ("QComboBox", "QTimeEdit"): a faint fill, a
// hairline and rounded corners, in the current appearance.
QString glassFieldSheet(const char* type);

} // namespace halvoren
