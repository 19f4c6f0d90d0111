#include "ui/weather/weather_hero_view.h"

#include "core/temperature_format.h"
#include "engine/halvoren_engine.h"
#include "ui/panel/panel_buttons.h"
#include "ui/theme/appearance.h"
#include "ui/theme/colors.h"
#include "ui/theme/fonts.h"
#include "ui/theme/glass.h"
#include "ui/theme/symbols.h"
#include "ui/theme/thermal_color.h"

#include <QEasingCurve>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QSettings>
#include <cmath>
#include <numbers>

namespace halvoren {

namespace {

constexpr double frameInterval = 1.0 / 30.0;
constexpr double glyphBlock = 92.0;
constexpr double stripHeight = 44.0;

QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

// A small round toggle with a symbol; lit while checked.
class PageToggle : public AccentButton {
public:
    PageToggle(std::string symbol, const QString& name, QWidget* parent)
        : AccentButton(parent)
        , symbol_(std::move(symbol)) {
        setCheckable(true);
        setAccessibleName(name);
        setToolTip(name);
        setFixedSize(26, 22);
    }

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override {
        const theme::Appearance look = theme::currentAppearance();
        if (isChecked() || isHovered()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(isChecked() ? withAlpha(accent(), 0.18)
                                         : withAlpha(theme::primaryColor(look), 0.06));
            painter.drawRoundedRect(rect, 7.0, 7.0);
        }
        theme::paintSymbol(painter, rect.adjusted(6, 4, -6, -4), symbol_,
                           isChecked() ? accent() : theme::secondaryColor(look));
        paintFocusRing(painter, rect, 7.0);
    }

private:
    std::string symbol_;
};

} // namespace

WeatherHeroView::WeatherHeroView(const HalvorenEngine& engine, QSettings& settings, QWidget* parent)
    : QWidget(parent)
    , engine_(engine)
    , settings_(settings)
    , page_(weather::loadWeatherPage(settings))
    , reduceMotion_(theme::prefersReducedMotion())
    , forecastToggle_(new PageToggle("cloud.sun.fill", QStringLiteral("Show weather forecast"), this))
    , radarToggle_(new PageToggle("wind", QStringLiteral("Show airflow radar"), this)) {
    setAttribute(Qt::WA_TranslucentBackground);
    setMinimumHeight(contentHeight + 2 * padding);
    // The cross-fade runs on a timer of its own and the elapsed time, not on Qt's shared
    // animation clock, so it ends on time wherever the event loop comes from.
    switchTimer_.setInterval(static_cast<int>(frameInterval * 1000.0));
    QObject::connect(&switchTimer_, &QTimer::timeout, this, [this] {
        if (switchClock_.elapsed() >= pageSwitchMilliseconds) {
            switchTimer_.stop();
            leaving_ = QPixmap();
        }
        update();
    });
    frame_.setInterval(static_cast<int>(frameInterval * 1000.0));
    QObject::connect(&frame_, &QTimer::timeout, this, [this] { onFrame(); });
    QObject::connect(forecastToggle_, &QAbstractButton::clicked, this,
                     [this] { setPage(weather::WeatherPage::forecast); });
    QObject::connect(radarToggle_, &QAbstractButton::clicked, this,
                     [this] { setPage(weather::WeatherPage::radar); });

    const auto repaint = [this] {
        refreshAccessibility();
        updateMotion();
        update();
    };
    watch_.on(engine_.weatherSnapshot(), repaint);
    watch_.on(engine_.useFahrenheit(), repaint);
    watch_.on(engine_.preciseTemperatures(), repaint);
    watch_.on(engine_.glassFrost(), repaint);
    watch_.on(engine_.accentChoice(), [this] {
        const QColor accent = theme::accentColor(engine_.accentChoice().value());
        forecastToggle_->setAccent(accent);
        radarToggle_->setAccent(accent);
    });
    watch_.on(engine_.fans(), [this] {
        if (streams() != shownStreams_) {
            restartFlow();
        }
        refreshAccessibility();
        if (page_ == weather::WeatherPage::radar) {
            update();
        }
    });
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    forecastToggle_->setAccent(accent);
    radarToggle_->setAccent(accent);
    setPage(page_);
    restartFlow();
}

int WeatherHeroView::streams() const {
    return weather::radarStreams(engine_.menuBarFanFraction());
}

void WeatherHeroView::setPage(weather::WeatherPage page) {
    if (page != page_) {
        // The old page fades out over the new one; with reduced motion it is simply replaced.
        if (isVisible() && !reduceMotion_) {
            leaving_ = QPixmap(size() * devicePixelRatioF());
            leaving_.setDevicePixelRatio(devicePixelRatioF());
            leaving_.fill(Qt::transparent);
            QPainter painter(&leaving_);
            painter.setRenderHint(QPainter::Antialiasing);
            paintPage(painter);
            switchClock_.start();
            switchTimer_.start();
        }
        page_ = page;
        weather::storeWeatherPage(settings_, page);
    }
    forecastToggle_->setChecked(page_ == weather::WeatherPage::forecast);
    radarToggle_->setChecked(page_ == weather::WeatherPage::radar);
    refreshAccessibility();
    restartFlow();
    update();
}

void WeatherHeroView::setReduceMotion(bool reduce) {
    reduceMotion_ = reduce;
    restartFlow();
}

void WeatherHeroView::restartFlow() {
    shownStreams_ = streams();
    const bool still = reduceMotion_ || page_ != weather::WeatherPage::radar || shownStreams_ < 1;
    flowPeriod_ = still ? std::nullopt : weather::dashPeriod(shownStreams_);
    updateMotion();
}

void WeatherHeroView::updateMotion() {
    const bool breathing = !reduceMotion_ && page_ == weather::WeatherPage::forecast &&
                           weather::breathingPeriod(engine_.weatherSnapshot()->condition).has_value();
    if (!breathing) {
        breathScale_ = 1.0;
    }
    const bool run = isVisible() && (breathing || flowPeriod_.has_value());
    if (run && !frame_.isActive()) {
        if (!clock_.isValid()) {
            clock_.start();
        }
        frame_.start();
    } else if (!run) {
        frame_.stop();
    }
}

void WeatherHeroView::onFrame() {
    const double now = static_cast<double>(clock_.elapsed()) / 1000.0;
    if (flowPeriod_) {
        const double cycle = weather::dashOn + weather::dashOff;
        dashPhase_ = -std::fmod(now / *flowPeriod_, 1.0) * cycle;
    }
    if (const auto period = weather::breathingPeriod(engine_.weatherSnapshot()->condition);
        period && page_ == weather::WeatherPage::forecast && !reduceMotion_) {
        const double ease = (1.0 - std::cos(std::numbers::pi * now / *period)) / 2.0;
        breathScale_ = weather::breathLow + (weather::breathHigh - weather::breathLow) * ease;
    }
    update();
}

void WeatherHeroView::refreshAccessibility() {
    const WeatherSnapshot& snapshot = engine_.weatherSnapshot().value();
    const bool fahrenheit = engine_.useFahrenheit().value();
    if (page_ == weather::WeatherPage::forecast) {
        setAccessibleName(weather::forecastAccessibilityLabel(snapshot, fahrenheit));
        setAccessibleDescription(weather::stripAccessibilityLabel(snapshot.hourly, fahrenheit));
    } else {
        setAccessibleName(
            weather::radarAccessibilityLabel(engine_.menuBarFanFraction(), !engine_.fans()->empty()));
        setAccessibleDescription({});
    }
}

void WeatherHeroView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    updateMotion();
}

void WeatherHeroView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    frame_.stop();
    switchTimer_.stop();
    leaving_ = QPixmap();
}

void WeatherHeroView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    radarToggle_->move(width() - padding - radarToggle_->width() + 4, padding - 4);
    forecastToggle_->move(radarToggle_->x() - forecastToggle_->width() - 2, padding - 4);
}

void WeatherHeroView::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const theme::Appearance look = theme::currentAppearance();
    theme::paintGlassCard(painter, QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5),
                          engine_.glassFrost().value(), std::nullopt, look,
                          theme::prefersIncreasedContrast());
    if (!isSwitching()) {
        paintPage(painter);
        return;
    }
    const double shown = QEasingCurve(QEasingCurve::InOutQuad)
                             .valueForProgress(std::min(1.0, static_cast<double>(switchClock_.elapsed()) /
                                                                 pageSwitchMilliseconds));
    painter.setOpacity(1.0 - shown);
    painter.drawPixmap(0, 0, leaving_);
    painter.setOpacity(shown);
    paintPage(painter);
}

void WeatherHeroView::paintPage(QPainter& painter) {
    const QRectF content = QRectF(rect()).adjusted(padding, padding, -padding, -padding);
    if (page_ == weather::WeatherPage::forecast) {
        paintForecast(painter, content);
    } else {
        paintRadar(painter, content);
    }
}

void WeatherHeroView::paintForecast(QPainter& painter, const QRectF& content) {
    const theme::Appearance look = theme::currentAppearance();
    const bool dark = look == theme::Appearance::dark;
    const QColor primary = theme::primaryColor(look);
    const WeatherSnapshot& snapshot = engine_.weatherSnapshot().value();
    const bool fahrenheit = engine_.useFahrenheit().value();
    const bool hot = weather::isHot(snapshot.temperature);

    // The glyph block: a disc with a glow in the temperature's colour.
    const QRectF block(content.left(), content.top(), glyphBlock, glyphBlock);
    QRadialGradient glow(block.center(), glyphBlock / 2.0);
    const QColor heat = theme::thermalColor(snapshot.temperature);
    glow.setColorAt(0.0, withAlpha(heat, weather::glowOpacity(snapshot.temperature) * 1.8));
    glow.setColorAt(1.0, withAlpha(heat, weather::glowOpacity(snapshot.temperature) * 0.6));
    painter.setPen(Qt::NoPen);
    painter.setBrush(glow);
    painter.drawEllipse(block);
    painter.save();
    painter.translate(block.center());
    painter.scale(breathScale_, breathScale_);
    const QRectF glyph(-24.0, -24.0, 48.0, 48.0);
    theme::paintSymbol(painter, glyph, symbolName(snapshot.condition), heat);
    painter.restore();

    // The temperature and the sentences.
    const double left = block.right() + 18.0;
    const QRectF textArea(left, content.top(), content.right() - left - 60.0, glyphBlock);
    QFont big = theme::font(theme::FontRole::heroValue);
    big.setPixelSize(42);
    painter.setFont(big);
    painter.setPen(hot ? theme::thermalTextColor(snapshot.temperature, dark) : primary);
    const QString temperature = QString::fromStdString(
        TemperatureFormat::display(snapshot.temperature, fahrenheit, engine_.preciseTemperatures().value()));
    theme::drawTabularText(painter, QRectF(textArea.left(), textArea.top() - 4.0, textArea.width(), 50.0),
                           Qt::AlignLeft | Qt::AlignVCenter, temperature);
    double y = textArea.top() + 46.0;
    painter.setFont(theme::font(theme::FontRole::bodyEmphasis));
    painter.setPen(primary);
    painter.drawText(QRectF(textArea.left(), y, textArea.width() + 60.0, 16.0),
                     Qt::AlignLeft | Qt::AlignVCenter, QString::fromUtf8(displayName(snapshot.condition)));
    painter.setFont(theme::font(theme::FontRole::caption));
    painter.setPen(withAlpha(primary, 0.55));
    const QFontMetricsF metrics(painter.font());
    for (const std::optional<std::string>& line :
         {std::optional(snapshot.forecastLine), snapshot.outlookLine}) {
        if (!line) {
            continue;
        }
        y += 16.0;
        const double width = content.right() - textArea.left();
        painter.drawText(QRectF(textArea.left(), y, width, 15.0), Qt::AlignLeft | Qt::AlignVCenter,
                         metrics.elidedText(QString::fromStdString(*line), Qt::ElideRight, width));
    }

    // The hourly strip.
    const auto& hourly = snapshot.hourly;
    if (hourly.empty()) {
        return;
    }
    const QRectF strip(content.left(), content.bottom() - stripHeight, content.width(), stripHeight);
    const double cell = std::min(strip.width() / static_cast<double>(hourly.size()), 60.0);
    const QColor accent = theme::accentColor(engine_.accentChoice().value());
    for (std::size_t i = 0; i < hourly.size(); ++i) {
        const auto& entry = hourly[i];
        const QRectF box(strip.left() + cell * static_cast<double>(i), strip.top(), cell, strip.height());
        const bool now = entry.id == 0;
        if (now) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(withAlpha(accent, 0.14));
            painter.drawRoundedRect(box.adjusted(2, 0, -2, 0), 8.0, 8.0);
        }
        painter.setFont(
            theme::font(now ? theme::FontRole::controlDetailStrong : theme::FontRole::captionSmall));
        painter.setPen(withAlpha(primary, now ? 1.0 : 0.6));
        painter.drawText(QRectF(box.left(), box.top() + 2, box.width(), 12), Qt::AlignCenter,
                         QString::fromStdString(entry.label));
        const QPointF dot(box.center().x(), box.top() + 21.0);
        const QColor tint = theme::thermalColor(entry.temperature);
        if (entry.isForecast) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(withAlpha(tint, 0.9), 1.5));
            painter.drawEllipse(dot, 3.5, 3.5);
        } else {
            painter.setPen(Qt::NoPen);
            painter.setBrush(tint);
            painter.drawRoundedRect(QRectF(dot.x() - 7, dot.y() - 2.5, 14, 5), 2.5, 2.5);
        }
        painter.setFont(theme::font(now ? theme::FontRole::controlDetailStrong : theme::FontRole::rowValue));
        painter.setPen(withAlpha(primary, entry.isForecast ? 0.55 : 1.0));
        theme::drawTabularText(painter, QRectF(box.left(), box.top() + 27, box.width(), 15), Qt::AlignCenter,
                               weather::wholeDegrees(entry.temperature, fahrenheit) +
                                   QStringLiteral("\u00B0"));
    }
}

void WeatherHeroView::paintRadar(QPainter& painter, const QRectF& content) {
    const theme::Appearance look = theme::currentAppearance();
    const QColor primary = theme::primaryColor(look);
    const double temperature = engine_.weatherSnapshot()->temperature;
    const double fraction = engine_.menuBarFanFraction();

    // The case: a rounded body with intake on the left and exhaust on the right.
    const QRectF body(content.left() + 4.0, content.top() + 26.0, content.width() - 8.0,
                      content.height() - 44.0);
    QLinearGradient base(body.topLeft(), body.topRight());
    const QColor warm = theme::thermalColor(std::max(temperature, 40.0));
    base.setColorAt(0.0, withAlpha(warm, 0.0));
    base.setColorAt(0.5, withAlpha(warm, 0.22));
    base.setColorAt(1.0, withAlpha(warm, 0.1));
    painter.setPen(QPen(withAlpha(primary, 0.14), 1.0));
    painter.setBrush(base);
    painter.drawRoundedRect(body, 14.0, 14.0);

    const int count = streams();
    const QColor cool = theme::thermalColor(35.0);
    const QColor hot = theme::thermalColor(temperature);
    QLinearGradient ink(body.topLeft(), body.topRight());
    ink.setColorAt(0.0, withAlpha(cool, 0.0));
    ink.setColorAt(0.18, withAlpha(cool, 0.8));
    ink.setColorAt(0.82, withAlpha(hot, 0.85));
    ink.setColorAt(1.0, withAlpha(hot, 0.0));
    QPen pen(QBrush(ink), 2.5, Qt::CustomDashLine, Qt::RoundCap);
    pen.setDashPattern({weather::dashOn / 2.5, weather::dashOff / 2.5});
    pen.setDashOffset(dashPhase_ / 2.5);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    for (int i = 0; i < count; ++i) {
        const double y = body.top() + body.height() * (i + 1.0) / (count + 1.0);
        const double bend = (i % 2 == 0 ? 1.0 : -1.0) * body.height() / (count + 1.0) * 0.35;
        QPainterPath stream(QPointF(body.left() + 6.0, y));
        stream.cubicTo(QPointF(body.left() + body.width() * 0.35, y + bend),
                       QPointF(body.left() + body.width() * 0.65, y - bend), QPointF(body.right() - 6.0, y));
        painter.drawPath(stream);
    }

    painter.setFont(theme::font(theme::FontRole::caption));
    painter.setPen(theme::secondaryColor(look));
    painter.drawText(QRectF(content.left(), content.top(), content.width() - 70, 18),
                     Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("AIRFLOW"));
    const QString status = engine_.fans()->empty()
                               ? QStringLiteral("No controllable fans")
                               : (count == 0 ? QStringLiteral("Fans at rest")
                                             : QStringLiteral("%1% \u00B7 %2 of 6 streams")
                                                   .arg(std::llround(fraction * 100.0))
                                                   .arg(count));
    painter.setFont(theme::font(theme::FontRole::controlDetailEmphasis));
    painter.setPen(primary);
    theme::drawTabularText(painter, QRectF(content.left(), content.bottom() - 14, content.width(), 14),
                           Qt::AlignLeft | Qt::AlignVCenter, status);
}

} // namespace halvoren
