#include "ui/weather/fan_flow_meter.h"

#include "core/fan_driving_status.h"
#include "ui/components/spinning_glyph.h"
#include "ui/panel/speed_slider.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/weather/weather_values.h"

#include <QPainter>
#include <cmath>

namespace halvoren {

namespace {

// Regular form.
constexpr double regularTrackWidth = 132.0;
constexpr double regularTrackHeight = 6.0;
constexpr int regularIcon = 15;
// Mini form.
constexpr int miniGlyph = 14;
constexpr double miniNumberWidth = 44.0;
constexpr double miniTrackHeight = 3.0;
constexpr double tickWidth = 2.0;
constexpr double tickHeight = 7.0;

} // namespace

FanFlowMeter::FanFlowMeter(Style style, QWidget* parent)
    : QWidget(parent)
    , style_(style)
    , glyph_(new SpinningGlyph("fan.fill", this)) {
    glyph_->setAttribute(Qt::WA_TransparentForMouseEvents);
    glyph_->setReduceMotion(theme::prefersReducedMotion());
    glyph_->setColor(accent_);
    setAttribute(Qt::WA_TranslucentBackground);
    if (style_ == Style::regular) {
        slider_ = new SpeedSlider(this);
        slider_->hide();
        QObject::connect(slider_, &SpeedSlider::valueChanged, this, [this](int value) {
            if (onTarget_) {
                onTarget_(fan_.id, static_cast<double>(value));
            }
        });
    }
}

QSize FanFlowMeter::sizeHint() const {
    if (style_ == Style::mini) {
        return {miniGlyph + 6 + static_cast<int>(miniNumberWidth), 30};
    }
    return {static_cast<int>(regularTrackWidth), !slider_->isHidden() ? 128 : 96};
}

void FanFlowMeter::setFan(const FanStatus& fan, std::vector<int> sortedIDs) {
    fan_ = fan;
    sortedIDs_ = std::move(sortedIDs);
    refresh();
}

void FanFlowMeter::setManualTarget(std::optional<double> rpm) {
    if (!slider_) {
        return;
    }
    const bool show = rpm.has_value();
    if (show) {
        const weather::RPMRange range = weather::manualSliderRange(fan_);
        const QSignalBlocker quiet(slider_);
        slider_->setRange(static_cast<int>(std::lround(range.lower)),
                          static_cast<int>(std::lround(range.upper)));
        if (!slider_->isSliderDown()) {
            slider_->setValue(static_cast<int>(std::lround(*rpm)));
        }
    }
    if (slider_->isHidden() == show) {
        slider_->setVisible(show);
        updateGeometry();
    }
}

void FanFlowMeter::setAccent(const QColor& accent) {
    accent_ = accent;
    glyph_->setColor(accent);
    if (slider_) {
        slider_->setAccent(accent);
    }
    update();
}

void FanFlowMeter::setReduceMotion(bool reduce) {
    glyph_->setReduceMotion(reduce);
}

void FanFlowMeter::refresh() {
    glyph_->setAngularVelocity(weather::fanAngularVelocity(fan_));
    const QString label =
        weather::fanMeterAccessibilityLabel(fan_, sortedIDs_, weather::showsTargetTick(fan_));
    setAccessibleName(label);
    setToolTip(label);
    if (slider_) {
        slider_->setAccessibleName(QString::fromStdString(fanDisplayName(fan_.id, sortedIDs_)) +
                                   QStringLiteral(" target RPM"));
    }
    update();
}

QRectF FanFlowMeter::trackRect() const {
    if (style_ == Style::mini) {
        return {miniGlyph + 6.0, 23.0, miniNumberWidth, miniTrackHeight};
    }
    return {0.0, 70.0, std::min<double>(regularTrackWidth, width()), regularTrackHeight};
}

void FanFlowMeter::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (style_ == Style::mini) {
        glyph_->setGeometry(0, 4, miniGlyph, miniGlyph);
    } else {
        glyph_->setGeometry(0, 2, regularIcon + 1, regularIcon + 1);
        slider_->setGeometry(0, 86, std::min(width(), static_cast<int>(regularTrackWidth)), 22);
    }
}

void FanFlowMeter::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    const QColor primary = theme::primaryColor(look);
    const QColor secondary = theme::secondaryColor(look);
    const QString rpm = QString::number(std::isfinite(fan_.currentRPM) ? std::llround(fan_.currentRPM) : 0);

    if (style_ == Style::mini) {
        painter.setFont(theme::font(theme::FontRole::rowValue));
        painter.setPen(primary);
        theme::drawTabularText(painter, QRectF(miniGlyph + 6.0, 2.0, miniNumberWidth, 18.0),
                               Qt::AlignLeft | Qt::AlignVCenter, rpm);
    } else {
        painter.setFont(theme::font(theme::FontRole::caption));
        painter.setPen(secondary);
        painter.drawText(QRectF(regularIcon + 6.0, 0.0, width() - regularIcon - 6.0, 20.0),
                         Qt::AlignLeft | Qt::AlignVCenter,
                         QString::fromStdString(fanDisplayName(fan_.id, sortedIDs_)).toUpper());
        painter.setFont(theme::font(theme::FontRole::heroValue));
        painter.setPen(primary);
        theme::drawTabularText(painter, QRectF(0.0, 20.0, width(), 42.0), Qt::AlignLeft | Qt::AlignVCenter,
                               rpm);
        const double numberWidth = theme::tabularTextWidth(painter.font(), rpm);
        painter.setFont(theme::font(theme::FontRole::caption));
        painter.setPen(secondary);
        painter.drawText(QRectF(numberWidth + 6.0, 20.0, 60.0, 38.0), Qt::AlignLeft | Qt::AlignBottom,
                         QStringLiteral("RPM"));
        if (!slider_->isHidden()) {
            painter.drawText(QRectF(0.0, 108.0, width(), 16.0), Qt::AlignLeft | Qt::AlignVCenter,
                             QStringLiteral("%1 target RPM").arg(slider_->value()));
        }
    }

    const QRectF track = trackRect();
    QColor base = primary;
    base.setAlphaF(0.12F);
    painter.setPen(Qt::NoPen);
    painter.setBrush(base);
    const double radius = track.height() / 2.0;
    painter.drawRoundedRect(track, radius, radius);
    const double filled = weather::fanFraction(fan_) * track.width();
    if (filled > 0.0) {
        painter.setBrush(accent_);
        painter.drawRoundedRect(
            QRectF(track.left(), track.top(), std::max(filled, track.height()), track.height()), radius,
            radius);
    }
    if (weather::showsTargetTick(fan_)) {
        QColor tick = primary;
        tick.setAlphaF(0.6F);
        painter.setBrush(tick);
        const double x = track.left() + weather::targetTickX(fan_, track.width(), tickWidth);
        painter.drawRect(QRectF(x, track.center().y() - tickHeight / 2.0, tickWidth, tickHeight));
    }
}

} // namespace halvoren
