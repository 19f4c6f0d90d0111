#include "ui/panel/panel_buttons.h"

#include "ui/components/spinning_glyph.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QEasingCurve>
#include <QFocusEvent>
#include <QFontMetricsF>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QVariantAnimation>
#include <cmath>

namespace halvoren {

namespace {

QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

theme::Appearance appearance() {
    return theme::currentAppearance();
}

// A faint fill that lifts a control off the glass it sits on.
QColor controlFill(bool hovered) {
    const bool dark = appearance() == theme::Appearance::dark;
    const double alpha = (dark ? 0.08 : 0.55) + (hovered ? 0.06 : 0.0);
    return withAlpha(Qt::white, alpha);
}

void drawText(QPainter& painter, const QRectF& rect, theme::FontRole role, const QColor& color,
              Qt::Alignment alignment, const QString& text) {
    painter.setFont(theme::font(role));
    painter.setPen(color);
    painter.drawText(rect, static_cast<int>(alignment | Qt::TextSingleLine),
                     QFontMetricsF(painter.font()).elidedText(text, Qt::ElideRight, rect.width()));
}

} // namespace

PresetTabButton::PresetTabButton(QString title, std::string symbol, QString subtitle, QWidget* parent)
    : AccentButton(parent)
    , title_(std::move(title))
    , symbol_(std::move(symbol))
    , subtitle_(std::move(subtitle)) {
    setCheckable(true);
    setFixedHeight(isCompact() ? compactHeight : tabHeight);
    setAccessibleName(title_);
    setAccessibleDescription(subtitle_);
}

void PresetTabButton::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = appearance();
    const QColor primary = theme::primaryColor(look);
    const QColor secondary = theme::secondaryColor(look);
    if (isCompact()) {
        drawText(painter, rect.adjusted(4, 0, -4, 0), theme::FontRole::bodyEmphasis,
                 isChecked() ? primary : hoverLightened(secondary, isHovered()), Qt::AlignCenter, title_);
        paintFocusRing(painter, rect, 8.0);
        return;
    }
    theme::paintSymbol(painter, QRectF(rect.center().x() - 9, rect.top() + 7, 18, 18), symbol_,
                       isChecked() ? accent() : hoverLightened(secondary, isHovered()));
    drawText(painter, QRectF(rect.left() + 4, rect.top() + 26, rect.width() - 8, 18),
             theme::FontRole::bodyEmphasis, primary, Qt::AlignHCenter | Qt::AlignVCenter, title_);
    drawText(painter, QRectF(rect.left() + 4, rect.top() + 43, rect.width() - 8, 15),
             theme::FontRole::captionSmall, secondary, Qt::AlignHCenter | Qt::AlignVCenter, subtitle_);
    paintFocusRing(painter, rect, 10.0);
}

PresetTabs::PresetTabs(QWidget* parent)
    : QWidget(parent)
    , slide_(new QVariantAnimation(this)) {
    slide_->setDuration(300);
    slide_->setEasingCurve(QEasingCurve::OutCubic);
    connect(slide_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        highlight_ = value.toRectF();
        update();
    });
}

PresetTabButton* PresetTabs::addTab(PresetTabButton* tab) {
    tab->setParent(this);
    tabs_.push_back(tab);
    return tab;
}

void PresetTabs::setAccent(const QColor& accent) {
    accent_ = accent;
    for (auto* tab : tabs_) {
        tab->setAccent(accent);
    }
    update();
}

QRectF PresetTabs::targetRect() const {
    if (current_ < 0 || current_ >= static_cast<int>(tabs_.size())) {
        return {};
    }
    return {tabs_[static_cast<std::size_t>(current_)]->geometry()};
}

void PresetTabs::setCurrent(int index) {
    for (std::size_t i = 0; i < tabs_.size(); ++i) {
        tabs_[i]->setChecked(static_cast<int>(i) == index);
    }
    if (index == current_) {
        return;
    }
    const bool slide = current_ >= 0 && index >= 0 && isVisible() && !theme::prefersReducedMotion();
    current_ = index;
    slide_->stop();
    if (slide) {
        slide_->setStartValue(highlight_);
        slide_->setEndValue(targetRect());
        slide_->start();
    } else {
        highlight_ = targetRect();
        update();
    }
}

void PresetTabs::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    slide_->stop();
    highlight_ = targetRect();
}

void PresetTabs::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(controlFill(false));
    painter.drawRoundedRect(QRectF(rect()), 12.0, 12.0);
    if (highlight_.isEmpty()) {
        return;
    }
    const bool dark = appearance() == theme::Appearance::dark;
    painter.setBrush(dark ? withAlpha(Qt::white, 0.16) : QColor(Qt::white));
    painter.setPen(QPen(withAlpha(accent_, 0.55), 1.0));
    painter.drawRoundedRect(highlight_.adjusted(2.5, 2.5, -2.5, -2.5), 10.0, 10.0);
}

ListRowButton::ListRowButton(QWidget* parent)
    : AccentButton(parent) {}

void ListRowButton::setContent(std::string symbol, QString title, QString detail, bool checked) {
    symbol_ = std::move(symbol);
    title_ = std::move(title);
    detail_ = std::move(detail);
    checked_ = checked;
    update();
}

void ListRowButton::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = appearance();
    if (isHovered() || checked_) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(checked_ ? withAlpha(accent(), 0.12) : controlFill(true));
        painter.drawRoundedRect(rect, 8.0, 8.0);
    }
    theme::paintSymbol(painter, QRectF(rect.left() + 8, rect.center().y() - 8, 16, 16), symbol_, accent());
    const double right = rect.right() - (checked_ ? 28.0 : 10.0);
    drawText(painter, QRectF(right - 110, rect.top(), 110, rect.height()), theme::FontRole::rowValue,
             theme::secondaryColor(look), Qt::AlignRight | Qt::AlignVCenter, detail_);
    drawText(painter, QRectF(rect.left() + 32, rect.top(), right - 118 - rect.left() - 32, rect.height()),
             theme::FontRole::body, theme::primaryColor(look), Qt::AlignLeft | Qt::AlignVCenter, title_);
    if (checked_) {
        theme::paintSymbol(painter, QRectF(rect.right() - 24, rect.center().y() - 7, 14, 14), "checkmark",
                           accent());
    }
    paintFocusRing(painter, rect, 8.0);
}

TileButton::TileButton(std::string symbol, bool spinning, QWidget* parent)
    : AccentButton(parent)
    , symbol_(std::move(symbol)) {
    if (spinning) {
        glyph_ = new SpinningGlyph(symbol_, this);
        glyph_->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
}

void TileButton::setContent(QString title, QString detail, bool active) {
    title_ = std::move(title);
    detail_ = std::move(detail);
    active_ = active;
    if (glyph_) {
        glyph_->setColor(active_ ? QColor(Qt::white) : accent());
    }
    update();
}

void TileButton::resizeEvent(QResizeEvent* event) {
    AccentButton::resizeEvent(event);
    if (glyph_) {
        glyph_->setGeometry(12, height() / 2 - 9, 18, 18);
    }
}

void TileButton::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = appearance();
    painter.setPen(Qt::NoPen);
    painter.setBrush(active_ ? hoverLightened(accent(), isHovered()) : controlFill(isHovered()));
    painter.drawRoundedRect(rect, 12.0, 12.0);
    const QColor text = active_ ? QColor(Qt::white) : theme::primaryColor(look);
    if (!glyph_) {
        theme::paintSymbol(painter, QRectF(rect.left() + 12, rect.center().y() - 9, 18, 18), symbol_,
                           active_ ? QColor(Qt::white) : accent());
    }
    const QRectF body(rect.left() + 38, rect.top(), rect.width() - 48, rect.height());
    if (detail_.isEmpty()) {
        drawText(painter, body, theme::FontRole::bodyEmphasis, text, Qt::AlignLeft | Qt::AlignVCenter,
                 title_);
    } else {
        drawText(painter, QRectF(body.left(), rect.top() + 6, body.width(), 17),
                 theme::FontRole::bodyEmphasis, text, Qt::AlignLeft | Qt::AlignVCenter, title_);
        painter.setFont(theme::font(theme::FontRole::controlDetailEmphasis));
        painter.setPen(active_ ? withAlpha(Qt::white, 0.85) : theme::secondaryColor(look));
        theme::drawTabularText(painter, QRectF(body.left(), rect.top() + 23, body.width(), 15),
                               Qt::AlignLeft | Qt::AlignVCenter, detail_);
    }
    paintFocusRing(painter, rect, 12.0);
}

FooterButton::FooterButton(QString title, std::string symbol, QWidget* parent)
    : AccentButton(parent)
    , title_(std::move(title))
    , symbol_(std::move(symbol)) {
    setAccessibleName(title_);
}

void FooterButton::setTitle(QString title) {
    title_ = std::move(title);
    setAccessibleName(title_);
    updateGeometry();
    update();
}

void FooterButton::setSymbol(std::string symbol) {
    symbol_ = std::move(symbol);
    updateGeometry();
    update();
}

QSize FooterButton::sizeHint() const {
    const double text = QFontMetricsF(theme::font(theme::FontRole::body)).horizontalAdvance(title_);
    if (title_.isEmpty()) {
        return {28, 28};
    }
    return {static_cast<int>(std::ceil(text)) + (symbol_.empty() ? 14 : 34), 28};
}

void FooterButton::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = appearance();
    if (isHovered()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(controlFill(true));
        painter.drawRoundedRect(rect, 7.0, 7.0);
    }
    double left = rect.left() + 8;
    if (!symbol_.empty()) {
        theme::paintSymbol(painter, QRectF(left, rect.center().y() - 7, 14, 14), symbol_,
                           theme::secondaryColor(look));
        left += 19;
    }
    drawText(painter, QRectF(left, rect.top(), rect.right() - left - 4, rect.height()), theme::FontRole::body,
             theme::primaryColor(look), Qt::AlignLeft | Qt::AlignVCenter, title_);
    paintFocusRing(painter, rect, 7.0);
}

} // namespace halvoren
