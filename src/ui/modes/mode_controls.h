#pragma once

#include "ui/panel/panel_buttons.h"

#include <QComboBox>
#include <QString>
#include <string>

namespace halvoren {

// A filled capsule for a dialog's main action: the accent, or red for one that destroys.
// It fades while disabled.
class ProminentButton : public PanelButton {
public:
    enum class Role { normal, destructive };

    ProminentButton(QString title, Role role, QWidget* parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;
    void changeEvent(QEvent* event) override;

private:
    QString title_;
    Role role_;
};

// An on/off switch beside its label; the whole line toggles it.
class ToggleSwitch : public PanelButton {
public:
    explicit ToggleSwitch(QString label, QWidget* parent = nullptr);
    QSize sizeHint() const override;

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;

private:
    QString label_;
};

// One symbol of the editor's grid; the checked one sits on an accent wash.
class SymbolSwatch : public PanelButton {
public:
    explicit SymbolSwatch(std::string symbol, QWidget* parent = nullptr);
    const std::string& symbol() const { return symbol_; }
    QSize sizeHint() const override { return {40, 40}; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;

private:
    std::string symbol_;
};

// A picker drawn as a soft field with the up-and-down chevrons at its end.
class SensorPicker : public QComboBox {
public:
    explicit SensorPicker(QWidget* parent = nullptr)
        : QComboBox(parent) {}

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace halvoren
