#include "ui/modes/mode_controls.h"

#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <cmath>

namespace halvoren {

namespace {

const QColor destructiveRed(0xFF, 0x45, 0x3A);

QColor faded(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(color.alphaF() * alpha));
    return color;
}

// The faint glass fill controls share, a little stronger under the pointer.
QColor restingFill(bool hovered) {
    const bool dark = theme::currentAppearance() == theme::Appearance::dark;
    QColor fill = dark ? QColor(Qt::white) : QColor(Qt::black);
    fill.setAlphaF(static_cast<float>((dark ? 0.08 : 0.06) + (hovered ? 0.05 : 0.0)));
    return fill;
}

} // namespace

ProminentButton::ProminentButton(QString title, Role role, QWidget* parent)
    : PanelButton(parent)
    , title_(std::move(title))
    , role_(role) {
    setAccessibleName(title_);
}

QSize ProminentButton::sizeHint() const {
    const double text = QFontMetricsF(theme::font(theme::FontRole::bodyEmphasis)).horizontalAdvance(title_);
    return {std::max(84, static_cast<int>(std::ceil(text)) + 36), 30};
}

void ProminentButton::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange) {
        setCursor(isEnabled() ? Qt::PointingHandCursor : Qt::ArrowCursor);
    }
    PanelButton::changeEvent(event);
}

void ProminentButton::paintContent(QPainter& painter, const QRectF& rect) {
    const QColor base = role_ == Role::destructive ? destructiveRed : accent();
    const double opacity = isEnabled() ? 1.0 : 0.4;
    painter.setPen(Qt::NoPen);
    painter.setBrush(faded(hoverLightened(base, isHovered() && isEnabled()), opacity));
    painter.drawRoundedRect(rect.adjusted(1, 1, -1, -1), 8.0, 8.0);
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.setPen(faded(Qt::white, isEnabled() ? 1.0 : 0.7));
    painter.drawText(rect, Qt::AlignCenter | Qt::TextSingleLine, title_);
    paintFocusRing(painter, rect, 8.0);
}

ToggleSwitch::ToggleSwitch(QString label, QWidget* parent)
    : PanelButton(parent)
    , label_(std::move(label)) {
    setCheckable(true);
    setAccessibleName(label_);
}

QSize ToggleSwitch::sizeHint() const {
    const double text = QFontMetricsF(theme::font(theme::FontRole::body)).horizontalAdvance(label_);
    return {static_cast<int>(std::ceil(text)) + 64, 30};
}

void ToggleSwitch::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = theme::currentAppearance();
    const QRectF track(rect.right() - 42, rect.center().y() - 11, 38, 22);
    painter.setFont(theme::font(theme::FontRole::body));
    painter.setPen(theme::primaryColor(look));
    painter.drawText(rect.adjusted(0, 0, -(track.width() + 12), 0), Qt::AlignLeft | Qt::AlignVCenter, label_);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? hoverLightened(accent(), isHovered())
                                 : restingFill(isHovered()).darker(110));
    painter.drawRoundedRect(track, 11.0, 11.0);
    const double knobX = isChecked() ? track.right() - 20 : track.left() + 2;
    painter.setBrush(Qt::white);
    painter.setPen(QPen(QColor(0, 0, 0, 40), 0.5));
    painter.drawEllipse(QRectF(knobX, track.top() + 2, 18, 18));
    paintFocusRing(painter, track.adjusted(-3, -3, 3, 3), 14.0);
}

SymbolSwatch::SymbolSwatch(std::string symbol, QWidget* parent)
    : PanelButton(parent)
    , symbol_(std::move(symbol)) {
    setCheckable(true);
    setAutoExclusive(true);
    setFixedSize(40, 40);
    setAccessibleName(QString::fromStdString(symbol_));
}

void SymbolSwatch::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = theme::currentAppearance();
    const QRectF tile = rect.adjusted(1, 1, -1, -1);
    painter.setPen(isChecked() ? QPen(accent(), 1.5) : Qt::NoPen);
    painter.setBrush(isChecked() ? faded(accent(), 0.2) : restingFill(isHovered()));
    painter.drawRoundedRect(tile, 9.0, 9.0);
    theme::paintSymbol(painter, tile.adjusted(10, 10, -10, -10), symbol_,
                       isChecked() ? accent() : theme::secondaryColor(look));
    paintFocusRing(painter, rect, 9.0);
}

void SensorPicker::paintEvent(QPaintEvent* event) {
    QComboBox::paintEvent(event);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area(rect());
    theme::paintSymbol(painter, QRectF(area.right() - 24, area.center().y() - 7, 14, 14),
                       "chevron.up.chevron.down", theme::secondaryColor(theme::currentAppearance()));
}

} // namespace halvoren
