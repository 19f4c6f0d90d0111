#include "ui/modes/mode_row.h"

#include "ui/modes/mode_values.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>

namespace halvoren {

namespace {

constexpr int buttonSize = 28;
constexpr int buttonGap = 2;

QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

} // namespace

ModeRow::ModeRow(QWidget* parent)
    : AccentButton(parent)
    , edit_(new FooterButton(QString(), "pencil", this))
    , delete_(new FooterButton(QString(), "trash", this)) {
    setFixedHeight(rowHeight);
    QObject::connect(this, &QAbstractButton::clicked, this, [this] {
        // An inert row swallows the click: nothing is engaged without fans.
        if (content_.canEngage && onEngage_) {
            onEngage_();
        }
    });
    QObject::connect(edit_, &QAbstractButton::clicked, this, [this] {
        if (onEdit_) {
            onEdit_();
        }
    });
    QObject::connect(delete_, &QAbstractButton::clicked, this, [this] {
        if (onDelete_) {
            onDelete_();
        }
    });
}

void ModeRow::setContent(Content content) {
    content_ = std::move(content);
    const QString name = QString::fromStdString(content_.mode.name);
    setAccessibleName(name);
    setAccessibleDescription(modes::rowHint(content_.mode, content_.sensorName, content_.temperature));
    setToolTip(content_.canEngage ? QString() : content_.inertReason.value_or(QString()));
    setCursor(content_.canEngage ? Qt::PointingHandCursor : Qt::ArrowCursor);
    edit_->setAccessibleName(QStringLiteral("Edit ") + name);
    edit_->setToolTip(edit_->accessibleName());
    delete_->setAccessibleName(QStringLiteral("Delete ") + name);
    delete_->setToolTip(delete_->accessibleName());
    update();
}

void ModeRow::resizeEvent(QResizeEvent* event) {
    const int top = (height() - buttonSize) / 2;
    delete_->setGeometry(width() - 10 - buttonSize, top, buttonSize, buttonSize);
    edit_->setGeometry(delete_->x() - buttonGap - buttonSize, top, buttonSize, buttonSize);
    AccentButton::resizeEvent(event);
}

void ModeRow::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = theme::currentAppearance();
    const bool dark = look == theme::Appearance::dark;
    const QColor primary = theme::primaryColor(look);
    const QColor secondary = theme::secondaryColor(look);
    const QRectF area = rect.adjusted(1, 1, -1, -1);
    const bool lit = content_.canEngage && isHovered();
    if (content_.isActive) {
        painter.setPen(QPen(withAlpha(accent(), 0.45), 1.0));
        painter.setBrush(withAlpha(accent(), dark ? 0.16 : 0.12));
    } else {
        painter.setPen(Qt::NoPen);
        painter.setBrush(withAlpha(dark ? QColor(Qt::white) : QColor(Qt::black), lit ? 0.07 : 0.0));
    }
    painter.drawRoundedRect(area, 10.0, 10.0);

    const QRectF chip(area.left() + 10, area.center().y() - 17, 34, 34);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withAlpha(accent(), content_.isActive ? 0.28 : 0.16));
    painter.drawRoundedRect(chip, 9.0, 9.0);
    theme::paintSymbol(painter, chip.adjusted(8, 8, -8, -8), content_.mode.symbolName, accent());

    // Right to left: the buttons (children), the check mark, the temperature.
    double right = edit_->x() - 10;
    if (content_.isActive) {
        const QRectF check(right - 18, area.center().y() - 9, 18, 18);
        theme::paintSymbol(painter, check, "checkmark.circle.fill", accent());
        right = check.left() - 10;
    }
    // The temperature over the name of the sensor it comes from, right-aligned.
    painter.setFont(theme::font(theme::FontRole::rowValue));
    const double valueWidth = std::max(theme::tabularTextWidth(painter.font(), content_.temperature),
                                       QFontMetricsF(theme::font(theme::FontRole::captionSmall))
                                           .horizontalAdvance(content_.sensorName)) +
                              2;
    const QRectF valueRect(right - std::min(valueWidth, 150.0), area.center().y() - 18,
                           std::min(valueWidth, 150.0), 20);
    painter.setPen(content_.temperature == QStringLiteral("—") ? secondary : primary);
    theme::drawTabularText(painter, valueRect, Qt::AlignRight | Qt::AlignVCenter, content_.temperature);
    painter.setFont(theme::font(theme::FontRole::captionSmall));
    painter.setPen(secondary);
    painter.drawText(
        valueRect.translated(0, 19), Qt::AlignRight | Qt::AlignVCenter | Qt::TextSingleLine,
        QFontMetricsF(painter.font()).elidedText(content_.sensorName, Qt::ElideRight, valueRect.width()));
    right = valueRect.left() - 12;

    const double left = chip.right() + 12;
    const QRectF nameRect(left, area.center().y() - 18, right - left, 20);
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.setPen(content_.canEngage ? primary : withAlpha(primary, 0.6));
    painter.drawText(
        nameRect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        QFontMetricsF(painter.font())
            .elidedText(QString::fromStdString(content_.mode.name), Qt::ElideRight, nameRect.width()));
    painter.setFont(theme::font(theme::FontRole::caption));
    painter.setPen(secondary);
    painter.drawText(nameRect.translated(0, 19), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     modes::speedSubtitle(content_.mode.speed));
    paintFocusRing(painter, area, 10.0);
}

} // namespace halvoren
