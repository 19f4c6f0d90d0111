#include "ui/components/notice_view.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QFontMetrics>
#include <QPainter>

namespace halvoren {

NoticeView::NoticeView(Style style, std::string symbol, QWidget* parent)
    : QWidget(parent)
    , style_(style)
    , symbol_(std::move(symbol)) {
    setAttribute(Qt::WA_TranslucentBackground);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void NoticeView::setText(QString title, QString detail) {
    title_ = std::move(title);
    detail_ = std::move(detail);
    setAccessibleName(title_);
    setAccessibleDescription(detail_);
    updateGeometry();
    update();
}

void NoticeView::setTint(std::optional<QColor> tint) {
    tint_ = tint;
    update();
}

QSize NoticeView::sizeHint() const {
    if (style_ == Style::line) {
        return {280, QFontMetrics(theme::font(theme::FontRole::body)).height() + 6};
    }
    return {280, 104};
}

void NoticeView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    const QColor secondary = theme::secondaryColor(look);
    const QColor ink = tint_.value_or(secondary);
    const QRectF area(rect());
    if (style_ == Style::line) {
        const QRectF glyph(area.left(), area.center().y() - 7, 14, 14);
        theme::paintSymbol(painter, glyph, symbol_, ink);
        painter.setFont(theme::font(theme::FontRole::body));
        painter.setPen(tint_ ? ink : secondary);
        const QRectF text(glyph.right() + 7, area.top(), area.width() - glyph.width() - 7, area.height());
        painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         QFontMetrics(painter.font()).elidedText(title_, Qt::ElideRight, int(text.width())));
        return;
    }
    theme::paintSymbol(painter, QRectF(area.center().x() - 16, area.top() + 10, 32, 32), symbol_, secondary);
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.setPen(theme::primaryColor(look));
    painter.drawText(QRectF(area.left(), area.top() + 50, area.width(), 22), Qt::AlignCenter, title_);
    painter.setFont(theme::font(theme::FontRole::caption));
    painter.setPen(secondary);
    painter.drawText(QRectF(area.left(), area.top() + 72, area.width(), 20), Qt::AlignCenter, detail_);
}

} // namespace halvoren
