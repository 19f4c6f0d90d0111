#include "ui/main_window/sidebar.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QKeyEvent>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>

namespace halvoren {

namespace {

constexpr int footerHeight = 44;

} // namespace

SidebarItem::SidebarItem(const SectionInfo& info, QWidget* parent)
    : AccentButton(parent)
    , section_(info.section)
    , title_(QString::fromUtf8(info.title))
    , symbol_(info.symbol) {
    setCheckable(true);
    setAccessibleName(title_);
    setFixedHeight(itemHeight);
}

void SidebarItem::keyPressEvent(QKeyEvent* event) {
    auto* bar = dynamic_cast<Sidebar*>(parentWidget());
    if (bar && (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)) {
        bar->step(event->key() == Qt::Key_Up ? -1 : 1);
        event->accept();
        return;
    }
    AccentButton::keyPressEvent(event);
}

void SidebarItem::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = theme::currentAppearance();
    const bool dark = look == theme::Appearance::dark;
    if (isChecked() || isHovered()) {
        QColor fill = isChecked() ? accent() : (dark ? QColor(255, 255, 255) : QColor(0, 0, 0));
        fill.setAlphaF(isChecked() ? (dark ? 0.32F : 0.18F) : 0.06F);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        painter.drawRoundedRect(rect, 8.0, 8.0);
    }
    theme::paintSymbol(painter, QRectF(rect.left() + 10, rect.center().y() - 8, 16, 16), symbol_,
                       isChecked() && !dark ? accent().darker(115) : accent());
    painter.setFont(theme::font(isChecked() ? theme::FontRole::bodyEmphasis : theme::FontRole::body));
    painter.setPen(theme::primaryColor(look));
    painter.drawText(rect.adjusted(36, 0, -8, 0), Qt::AlignLeft | Qt::AlignVCenter, title_);
    paintFocusRing(painter, rect, 8.0);
}

Sidebar::Sidebar(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_TranslucentBackground);
    setMinimumWidth(minimumWidth);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(10, 52, 10, footerHeight + 8);
    column->setSpacing(2);
    for (const SectionInfo& info : sections) {
        auto* entry = new SidebarItem(info, this);
        items_[static_cast<std::size_t>(info.section)] = entry;
        column->addWidget(entry);
        QObject::connect(entry, &QAbstractButton::clicked, this, [this, section = info.section] {
            setCurrent(section);
            if (onSelect_) {
                onSelect_(section);
            }
        });
    }
    column->addStretch(1);
    setCurrent(Section::dashboard);
}

void Sidebar::setCurrent(Section section) {
    current_ = section;
    for (SidebarItem* entry : items_) {
        entry->setChecked(entry->section() == section);
    }
}

void Sidebar::step(int step) {
    const int next = std::clamp(static_cast<int>(current_) + step, 0, static_cast<int>(items_.size()) - 1);
    SidebarItem* entry = items_[static_cast<std::size_t>(next)];
    entry->setFocus(Qt::TabFocusReason);
    entry->click();
}

void Sidebar::setFooter(const QString& text, const QColor& dot) {
    footer_ = text;
    dot_ = dot;
    setAccessibleDescription(text);
    update();
}

void Sidebar::setAccent(const QColor& accent) {
    for (SidebarItem* entry : items_) {
        entry->setAccent(accent);
    }
}

void Sidebar::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    const bool dark = look == theme::Appearance::dark;
    // A frosted pane over the backdrop, with a hairline on its inner edge.
    painter.fillRect(rect(), dark ? QColor(28, 30, 36, 150) : QColor(246, 246, 248, 150));
    painter.setPen(theme::borderColor(look, theme::prefersIncreasedContrast()));
    painter.drawLine(QPointF(width() - 0.5, 0), QPointF(width() - 0.5, height()));

    painter.setFont(theme::font(theme::FontRole::caption));
    painter.setPen(theme::secondaryColor(look));
    painter.drawText(QRectF(20, 18, width() - 40, 22), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("HALVOREN"));

    const QRectF foot(18, height() - footerHeight, width() - 36, footerHeight - 12);
    painter.setPen(Qt::NoPen);
    painter.setBrush(dot_);
    painter.drawEllipse(QRectF(foot.left(), foot.center().y() - 3.5, 7, 7));
    painter.setPen(theme::secondaryColor(look));
    painter.drawText(foot.adjusted(15, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter, footer_);
}

} // namespace halvoren
