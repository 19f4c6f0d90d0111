#include "ui/sensors/sensor_row.h"

#include "ui/sensors/sensor_list.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"

#include <QContextMenuEvent>
#include <QFontMetricsF>
#include <QMenu>
#include <QPainter>

namespace halvoren {

SensorRow::SensorRow(QWidget* parent)
    : QWidget(parent)
    , menu_(new QMenu(this))
    , pinAction_(menu_->addAction(QStringLiteral("Pin"))) {
    setAttribute(Qt::WA_TranslucentBackground);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    QObject::connect(pinAction_, &QAction::triggered, this, [this] {
        if (onTogglePin_) {
            onTogglePin_(sensor_.key);
        }
    });
}

void SensorRow::setSensor(const SMCSensor& sensor, bool pinned, bool fahrenheit, bool precise) {
    sensor_ = sensor;
    pinned_ = pinned;
    value_ = sensor_list::valueText(sensor, fahrenheit, precise);
    pinAction_->setText(pinned ? QStringLiteral("Unpin") : QStringLiteral("Pin"));
    setAccessibleName(sensor_list::accessibleLabel(sensor, pinned, fahrenheit, precise));
    update();
}

void SensorRow::contextMenuEvent(QContextMenuEvent* event) {
    menu_->exec(event->globalPos());
}

void SensorRow::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    const QRectF area = QRectF(rect()).adjusted(10, 0, -10, 0);

    painter.setFont(theme::font(theme::FontRole::rowValue));
    painter.setPen(theme::primaryColor(look));
    const double valueWidth = theme::tabularTextWidth(painter.font(), value_) + 2;
    const QRectF valueRect(area.right() - valueWidth, area.top(), valueWidth, area.height());
    theme::drawTabularText(painter, valueRect, Qt::AlignRight | Qt::AlignVCenter, value_);

    painter.setFont(theme::font(theme::FontRole::body));
    const double markWidth = pinned_ ? 18.0 : 0.0;
    const double room = valueRect.left() - area.left() - 12 - markWidth;
    const QString name =
        QFontMetricsF(painter.font()).elidedText(QString::fromStdString(sensor_.name), Qt::ElideRight, room);
    painter.drawText(QRectF(area.left(), area.top(), room, area.height()), Qt::AlignLeft | Qt::AlignVCenter,
                     name);
    if (pinned_) {
        const double nameWidth = QFontMetricsF(painter.font()).horizontalAdvance(name);
        theme::paintSymbol(painter, QRectF(area.left() + nameWidth + 6, area.center().y() - 6, 12, 12),
                           "pin.fill", theme::secondaryColor(look));
    }
}

SensorGroupHeader::SensorGroupHeader(QWidget* parent)
    : QWidget(parent) {
    setAttribute(Qt::WA_TranslucentBackground);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void SensorGroupHeader::setContent(QString title, std::size_t count) {
    title_ = std::move(title);
    count_ = QString::number(count);
    setAccessibleName(title_ + QStringLiteral(", ") + count_);
    update();
}

void SensorGroupHeader::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const theme::Appearance look = theme::currentAppearance();
    const QRectF area = QRectF(rect()).adjusted(10, 0, -10, 0);
    painter.setPen(theme::secondaryColor(look));
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.drawText(area, Qt::AlignLeft | Qt::AlignVCenter, title_);
    painter.setFont(theme::font(theme::FontRole::caption));
    theme::drawTabularText(painter, area, Qt::AlignRight | Qt::AlignVCenter, count_);
}

} // namespace halvoren
