#include "ui/components/glass_controls.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <cmath>

namespace halvoren {

QString glassFieldSheet(const char* type) {
    const bool dark = theme::currentAppearance() == theme::Appearance::dark;
    const QColor ink = theme::primaryColor(theme::currentAppearance());
    const QString fill =
        dark ? QStringLiteral("rgba(255,255,255,0.10)") : QStringLiteral("rgba(255,255,255,0.70)");
    const QString line = dark ? QStringLiteral("rgba(255,255,255,0.16)") : QStringLiteral("rgba(0,0,0,0.12)");
    const QString popup = dark ? QStringLiteral("#2C2C2E") : QStringLiteral("#FFFFFF");
    return QStringLiteral(
               "%1 { background: %2; border: 1px solid %3; border-radius: 7px; padding: 3px 26px 3px 10px; "
               "color: %4; min-height: 20px; }"
               "%1:focus { border: 2px solid palette(highlight); }"
               "%1::drop-down { border: none; width: 18px; }"
               "%1::up-button, %1::down-button { width: 0; border: none; }"
               "QComboBox QAbstractItemView { background: %5; color: %4; border-radius: 6px; "
               "selection-background-color: palette(highlight); }")
        .arg(QLatin1String(type), fill, line, ink.name(), popup);
}

ToggleSwitch::ToggleSwitch(const QString& accessibleName, QWidget* parent)
    : AccentButton(parent) {
    setCheckable(true);
    setAccessibleName(accessibleName);
    setFixedSize(size);
}

void ToggleSwitch::paintContent(QPainter& painter, const QRectF& rect) {
    const QRectF track = rect.adjusted(2, 2, -2, -2);
    const double radius = track.height() / 2.0;
    const bool dark = theme::currentAppearance() == theme::Appearance::dark;
    const QColor off = dark ? QColor(255, 255, 255, 52) : QColor(0, 0, 0, 56);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? accent() : off);
    painter.drawRoundedRect(track, radius, radius);
    const double knob = track.height() - 4.0;
    const double x = isChecked() ? track.right() - 2.0 - knob : track.left() + 2.0;
    painter.setBrush(QColor(0, 0, 0, 40));
    painter.drawEllipse(QRectF(x, track.top() + 2.5, knob, knob));
    painter.setBrush(Qt::white);
    painter.drawEllipse(QRectF(x, track.top() + 2.0, knob, knob));
    paintFocusRing(painter, track, radius);
}

ActionButton::ActionButton(QString title, Style style, QWidget* parent)
    : AccentButton(parent)
    , title_(std::move(title))
    , style_(style) {
    setAccessibleName(title_);
}

void ActionButton::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange) {
        setCursor(isEnabled() ? Qt::PointingHandCursor : Qt::ArrowCursor);
    }
    AccentButton::changeEvent(event);
}

void ActionButton::setTitle(QString title) {
    title_ = std::move(title);
    setAccessibleName(title_);
    updateGeometry();
    update();
}

QSize ActionButton::sizeHint() const {
    const double text = QFontMetricsF(theme::font(theme::FontRole::bodyEmphasis)).horizontalAdvance(title_);
    return {static_cast<int>(std::ceil(text)) + 32, 30};
}

void ActionButton::paintContent(QPainter& painter, const QRectF& rect) {
    const QRectF pill = rect.adjusted(1, 1, -1, -1);
    const theme::Appearance look = theme::currentAppearance();
    const bool hovered = isHovered() && isEnabled();
    painter.setOpacity(isEnabled() ? 1.0 : 0.4);
    painter.setPen(Qt::NoPen);
    QColor ink = theme::primaryColor(look);
    if (style_ == Style::quiet) {
        const bool dark = look == theme::Appearance::dark;
        painter.setPen(QPen(dark ? QColor(255, 255, 255, 40) : QColor(0, 0, 0, 28), 1.0));
        painter.setBrush(
            hoverLightened(dark ? QColor(255, 255, 255, 26) : QColor(255, 255, 255, 190), hovered));
    } else {
        painter.setBrush(
            hoverLightened(style_ == Style::destructive ? QColor(0xFF, 0x45, 0x3A) : accent(), hovered));
        ink = Qt::white;
    }
    painter.drawRoundedRect(pill, 8.0, 8.0);
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.setPen(ink);
    painter.drawText(pill, Qt::AlignCenter | Qt::TextSingleLine, title_);
    painter.setOpacity(1.0);
    paintFocusRing(painter, pill, 8.0);
}

StatusBadge::StatusBadge(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_TranslucentBackground);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void StatusBadge::setContent(QString text, std::string symbol, std::optional<QColor> tint) {
    text_ = std::move(text);
    symbol_ = std::move(symbol);
    tint_ = tint;
    setAccessibleDescription(text_);
    updateGeometry();
    update();
}

QSize StatusBadge::sizeHint() const {
    const double text = QFontMetricsF(theme::font(theme::FontRole::bodyEmphasis)).horizontalAdvance(text_);
    return {static_cast<int>(std::ceil(text)) + 44, 26};
}

void StatusBadge::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    const QColor ink = tint_.value_or(theme::secondaryColor(look));
    QColor wash = ink;
    wash.setAlphaF(0.14F);
    const QRectF pill = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash);
    painter.drawRoundedRect(pill, pill.height() / 2.0, pill.height() / 2.0);
    theme::paintSymbol(painter, QRectF(pill.left() + 9, pill.center().y() - 7.5, 15, 15), symbol_, ink);
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.setPen(tint_ ? ink : theme::primaryColor(look));
    painter.drawText(pill.adjusted(30, 0, -10, 0), Qt::AlignLeft | Qt::AlignVCenter, text_);
}

PickerBox::PickerBox(QWidget* parent)
    : QComboBox(parent) {
    setStyleSheet(glassFieldSheet("QComboBox"));
    setFont(theme::font(theme::FontRole::body));
    setFocusPolicy(Qt::StrongFocus);
    setMinimumWidth(190);
}

void PickerBox::paintEvent(QPaintEvent* event) {
    QComboBox::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF chevron(width() - 22.0, height() / 2.0 - 7.0, 14.0, 14.0);
    theme::paintSymbol(painter, chevron, "chevron.up.chevron.down",
                       theme::secondaryColor(theme::currentAppearance()));
}

} // namespace halvoren
