#include "ui/main_window/window_banner.h"

#include "ui/panel/panel_buttons.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/glass.h"
#include "ui/theme/symbols.h"

#include <QFontMetricsF>
#include <QPainter>

namespace halvoren {

WindowBanner::WindowBanner(std::string symbol, QWidget* parent)
    : QWidget(parent)
    , symbol_(std::move(symbol))
    , tint_(0xFF, 0x9F, 0x0A) {
    setAttribute(Qt::WA_TranslucentBackground);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void WindowBanner::setText(QString title, QString detail) {
    title_ = std::move(title);
    detail_ = std::move(detail);
    setAccessibleName(title_);
    setAccessibleDescription(detail_);
    updateGeometry();
    update();
}

void WindowBanner::setTint(const QColor& tint) {
    tint_ = tint;
    update();
}

void WindowBanner::setAction(QString title, std::string symbol) {
    delete action_;
    const bool shown = !title.isEmpty() || !symbol.empty();
    action_ = new FooterButton(std::move(title), std::move(symbol), this);
    action_->setVisible(shown);
    resizeEvent(nullptr);
}

void WindowBanner::resizeEvent(QResizeEvent* /*event*/) {
    if (action_) {
        const QSize hint = action_->sizeHint();
        action_->setGeometry(width() - hint.width() - 12, (height() - hint.height()) / 2, hint.width(),
                             hint.height());
    }
}

void WindowBanner::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    theme::paintGlassCard(painter, QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 0.6, tint_, look,
                          theme::prefersIncreasedContrast(), 12.0);
    theme::paintSymbol(painter, QRectF(16, height() / 2.0 - 10, 20, 20), symbol_, tint_);
    const double right = (action_ && action_->isVisible() ? action_->x() : width()) - 12.0;
    const QRectF text(48, 0, right - 48, height());
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.setPen(theme::primaryColor(look));
    const QFontMetricsF titleMetrics(painter.font());
    if (detail_.isEmpty()) {
        painter.drawText(text, Qt::AlignLeft | Qt::AlignVCenter,
                         titleMetrics.elidedText(title_, Qt::ElideRight, text.width()));
        return;
    }
    painter.drawText(QRectF(text.left(), text.center().y() - 19, text.width(), 19),
                     Qt::AlignLeft | Qt::AlignBottom,
                     titleMetrics.elidedText(title_, Qt::ElideRight, text.width()));
    painter.setFont(theme::font(theme::FontRole::caption));
    painter.setPen(theme::secondaryColor(look));
    painter.drawText(QRectF(text.left(), text.center().y() + 1, text.width(), 18),
                     Qt::AlignLeft | Qt::AlignTop,
                     QFontMetricsF(painter.font()).elidedText(detail_, Qt::ElideRight, text.width()));
}

} // namespace halvoren
