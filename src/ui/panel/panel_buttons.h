#pragma once

#include "ui/components/accent_button.h"

#include <QColor>
#include <QString>
#include <functional>
#include <string>

class QVariantAnimation;

namespace halvoren {

class SpinningGlyph;

// One preset: its symbol over its title and a small subtitle. The lit background is drawn by
// the row (`PresetTabs`) so that it can slide between tabs. With no symbol and no subtitle it
// is a compact segment holding its title alone.
class PresetTabButton : public AccentButton {
public:
    PresetTabButton(QString title, std::string symbol, QString subtitle, QWidget* parent = nullptr);
    static constexpr int tabHeight = 62;
    static constexpr int compactHeight = 30;
    bool isCompact() const { return symbol_.empty() && subtitle_.isEmpty(); }
    QSize sizeHint() const override {
        return {isCompact() ? 72 : 96, isCompact() ? compactHeight : tabHeight};
    }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;

private:
    QString title_;
    std::string symbol_;
    QString subtitle_;
};

// Tabs side by side over a highlight that slides to the checked one.
class PresetTabs : public QWidget {
public:
    explicit PresetTabs(QWidget* parent = nullptr);
    PresetTabButton* addTab(PresetTabButton* tab);
    // The lit tab, or none; slides there unless motion is reduced or it is not shown yet.
    void setCurrent(int index);
    int current() const { return current_; }
    const std::vector<PresetTabButton*>& tabs() const { return tabs_; }
    void setAccent(const QColor& accent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QRectF targetRect() const;

    std::vector<PresetTabButton*> tabs_;
    int current_ = -1;
    QRectF highlight_;
    QColor accent_;
    QVariantAnimation* slide_;
};

// A row of a list: symbol, title, and on the right a detail and an optional checkmark.
class ListRowButton : public AccentButton {
public:
    explicit ListRowButton(QWidget* parent = nullptr);
    void setContent(std::string symbol, QString title, QString detail, bool checked);
    QSize sizeHint() const override { return {300, 32}; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;

private:
    std::string symbol_;
    QString title_;
    QString detail_;
    bool checked_ = false;
};

// A square-ish glass tile with a leading glyph, a title and a trailing detail; filled with the
// accent while `active`. With `spinning` the glyph is the turning fan.
class TileButton : public AccentButton {
public:
    TileButton(std::string symbol, bool spinning, QWidget* parent = nullptr);
    void setContent(QString title, QString detail, bool active);
    SpinningGlyph* glyph() const { return glyph_; }
    QSize sizeHint() const override { return {160, 44}; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    std::string symbol_;
    SpinningGlyph* glyph_ = nullptr;
    QString title_;
    QString detail_;
    bool active_ = false;
};

// A quiet text button with an optional symbol, lit on hover.
class FooterButton : public AccentButton {
public:
    FooterButton(QString title, std::string symbol, QWidget* parent = nullptr);
    void setTitle(QString title);
    void setSymbol(std::string symbol);
    QSize sizeHint() const override;

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;

private:
    QString title_;
    std::string symbol_;
};

} // namespace halvoren
