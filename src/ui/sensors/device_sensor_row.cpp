#include "ui/sensors/device_sensor_row.h"

#include "core/temperature_format.h"
#include "ui/components/mini_graph.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/symbols.h"
#include "ui/theme/thermal_color.h"

#include <QFontMetricsF>
#include <QPainter>
#include <algorithm>
#include <numbers>

namespace halvoren {

namespace {

constexpr int graphHeight = 36;
constexpr int rangeHeight = 18;
constexpr int inset = 10;

QString formatted(double celsius, bool fahrenheit, bool precise) {
    return QString::fromStdString(TemperatureFormat::value(celsius, fahrenheit, precise));
}

} // namespace

namespace sensor_row {

QString valueText(const DeviceSensorReading& reading, bool fahrenheit, bool precise) {
    return reading.value ? formatted(*reading.value, fahrenheit, precise) : QStringLiteral("\u2014");
}

QString accessibleLabel(const DeviceSensorReading& reading, bool fahrenheit, bool precise) {
    const QString value =
        reading.value
            ? QString::fromStdString(TemperatureFormat::display(*reading.value, fahrenheit, precise))
            : QStringLiteral("no reading");
    return QString::fromStdString(reading.name) + QStringLiteral(", ") + value;
}

QString accessibleHint(bool expanded) {
    return expanded ? QStringLiteral("Double tap to collapse history")
                    : QStringLiteral("Double tap to expand history");
}

double graphTemperature(const DeviceSensorReading& reading, const std::vector<double>& history) {
    if (reading.value) {
        return *reading.value;
    }
    return history.empty() ? 0.0 : history.back();
}

} // namespace sensor_row

DeviceSensorRow::DeviceSensorRow(QWidget* parent)
    : AccentButton(parent)
    , graph_(new MiniGraph(this)) {
    graph_->setAttribute(Qt::WA_TransparentForMouseEvents);
    graph_->setLineWidth(1.5);
    graph_->hide();
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (onTap_) {
            onTap_();
        }
    });
}

QSize DeviceSensorRow::sizeHint() const {
    return {320, lineHeight + (expanded_ ? graphHeight + rangeHeight + 10 : 0)};
}

void DeviceSensorRow::setReading(const DeviceSensorReading& reading, bool fahrenheit, bool precise) {
    reading_ = reading;
    fahrenheit_ = fahrenheit;
    precise_ = precise;
    refresh();
}

void DeviceSensorRow::setHistory(std::vector<double> history) {
    history_ = std::move(history);
    if (expanded_) {
        graph_->setSamples(history_);
    }
    refresh();
}

void DeviceSensorRow::setExpanded(bool expanded) {
    if (expanded == expanded_) {
        return;
    }
    expanded_ = expanded;
    graph_->setVisible(expanded_);
    if (expanded_) {
        graph_->setSamples(history_);
    }
    refresh();
}

void DeviceSensorRow::refresh() {
    setAccessibleName(sensor_row::accessibleLabel(reading_, fahrenheit_, precise_));
    setAccessibleDescription(sensor_row::accessibleHint(expanded_));
    graph_->setTint(theme::thermalColor(sensor_row::graphTemperature(reading_, history_)));
    updateGeometry();
    update();
}

void DeviceSensorRow::resizeEvent(QResizeEvent* event) {
    AccentButton::resizeEvent(event);
    graph_->setGeometry(inset + 36, lineHeight, width() - 2 * inset - 36, graphHeight);
}

void DeviceSensorRow::paintContent(QPainter& painter, const QRectF& rect) {
    const theme::Appearance look = theme::currentAppearance();
    const bool dark = look == theme::Appearance::dark;
    if (isHovered() || expanded_) {
        painter.setPen(Qt::NoPen);
        QColor fill(Qt::white);
        fill.setAlphaF(dark ? (isHovered() ? 0.09F : 0.06F) : (isHovered() ? 0.6F : 0.42F));
        painter.setBrush(fill);
        painter.drawRoundedRect(rect, 10.0, 10.0);
    }
    const QRectF line(rect.left() + inset, rect.top(), rect.width() - 2 * inset, lineHeight);
    // The icon chip: the reading's symbol on a faint wash of its temperature colour.
    const QColor heat = theme::thermalColor(reading_.value.value_or(0.0));
    QColor wash = reading_.value ? heat : theme::secondaryColor(look);
    wash.setAlphaF(0.16F);
    const QRectF chip(line.left(), line.center().y() - 13, 26, 26);
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash);
    painter.drawRoundedRect(chip, 7.0, 7.0);
    theme::paintSymbol(painter, chip.adjusted(5, 5, -5, -5), reading_.symbol,
                       reading_.value ? theme::thermalTextColor(*reading_.value, dark)
                                      : theme::secondaryColor(look));

    const QRectF chevron(line.right() - 14, line.center().y() - 7, 14, 14);
    theme::paintSymbol(painter, chevron, "chevron.right", theme::secondaryColor(look),
                       expanded_ ? std::numbers::pi / 2.0 : 0.0);

    painter.setFont(theme::font(theme::FontRole::rowValueLarge));
    const QString value = sensor_row::valueText(reading_, fahrenheit_, precise_);
    painter.setPen(reading_.value ? theme::thermalTextColor(*reading_.value, dark)
                                  : theme::secondaryColor(look));
    const QRectF valueRect(chevron.left() - 90, line.top(), 82, line.height());
    theme::drawTabularText(painter, valueRect, Qt::AlignRight | Qt::AlignVCenter, value);

    painter.setFont(theme::font(theme::FontRole::body));
    painter.setPen(theme::primaryColor(look));
    const QRectF nameRect(chip.right() + 10, line.top(), valueRect.left() - chip.right() - 18, line.height());
    painter.drawText(
        nameRect, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        QFontMetricsF(painter.font())
            .elidedText(QString::fromStdString(reading_.name), Qt::ElideRight, nameRect.width()));

    if (expanded_ && !history_.empty()) {
        const auto [low, high] = std::ranges::minmax(history_);
        painter.setFont(theme::font(theme::FontRole::captionSmall));
        painter.setPen(theme::secondaryColor(look));
        const QRectF range(nameRect.left(), rect.top() + lineHeight + graphHeight + 2,
                           line.right() - nameRect.left(), rangeHeight);
        theme::drawTabularText(painter, range, Qt::AlignLeft | Qt::AlignVCenter,
                               QStringLiteral("min ") + formatted(low, fahrenheit_, precise_));
        theme::drawTabularText(painter, range, Qt::AlignRight | Qt::AlignVCenter,
                               QStringLiteral("max ") + formatted(high, fahrenheit_, precise_));
    }
    paintFocusRing(painter, rect, 10.0);
}

} // namespace halvoren
