#pragma once

#include "ui/main_window/window_sections.h"
#include "ui/panel/panel_buttons.h"

#include <QWidget>
#include <array>
#include <functional>

namespace halvoren {

// One section in the sidebar: its symbol and title, lit while chosen.
class SidebarItem : public AccentButton {
public:
    SidebarItem(const SectionInfo& info, QWidget* parent = nullptr);
    Section section() const { return section_; }
    static constexpr int itemHeight = 34;
    QSize sizeHint() const override { return {190, itemHeight}; }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    Section section_;
    QString title_;
    std::string symbol_;
};

// The window's left column on its translucent pane: the sections in order, with the helper's
// state at the foot. Up and Down move between sections.
class Sidebar : public QWidget {
public:
    static constexpr int minimumWidth = 190;
    static constexpr int idealWidth = 210;

    explicit Sidebar(QWidget* parent = nullptr);

    void setOnSelect(std::function<void(Section)> select) { onSelect_ = std::move(select); }
    void setCurrent(Section section);
    void setFooter(const QString& text, const QColor& dot);
    void setAccent(const QColor& accent);
    SidebarItem& item(Section section) const { return *items_[static_cast<std::size_t>(section)]; }
    const QString& footer() const { return footer_; }
    // Moves the selection `step` places, stopping at the ends, and focuses the new item.
    void step(int step);

    QSize sizeHint() const override { return {idealWidth, 600}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::array<SidebarItem*, sections.size()> items_{};
    Section current_ = Section::dashboard;
    QString footer_;
    QColor dot_;
    std::function<void(Section)> onSelect_;
};

} // namespace halvoren
