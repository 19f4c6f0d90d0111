#pragma once

#include "ui/engine_watch.h"
#include "ui/weather/weather_values.h"

#include <QElapsedTimer>
#include <QPixmap>
#include <QTimer>
#include <QWidget>
#include <optional>

class QSettings;

namespace halvoren {

class HalvorenEngine;
class AccentButton;

// The Dashboard's weather card. The forecast page shows the thermal weather: a condition glyph
// that breathes faster as the weather worsens, the temperature, its sentences and the hourly
// strip. The radar page shows air moving through the machine as dashed streams whose number
// and speed follow the fans. The page is remembered across launches.
//
// One frame timer drives both motions; it runs only while something moves, the card is shown
// and motion is not reduced.
class WeatherHeroView : public QWidget {
public:
    static constexpr int contentHeight = 148;
    static constexpr int padding = 16;
    static constexpr int pageSwitchMilliseconds = 250;

    WeatherHeroView(const HalvorenEngine& engine, QSettings& settings, QWidget* parent = nullptr);

    weather::WeatherPage page() const { return page_; }
    void setPage(weather::WeatherPage page);
    void setReduceMotion(bool reduce);

    int streams() const;
    // The running dash cycle's period; none while the streams stand still.
    std::optional<double> flowPeriod() const { return flowPeriod_; }
    bool isAnimating() const { return frame_.isActive(); }
    // The old page is still fading out.
    bool isSwitching() const { return !leaving_.isNull(); }
    double dashPhase() const { return dashPhase_; }
    double breathScale() const { return breathScale_; }
    AccentButton& forecastToggle() const { return *forecastToggle_; }
    AccentButton& radarToggle() const { return *radarToggle_; }

    QSize sizeHint() const override { return {520, contentHeight + 2 * padding}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    // Sets the dash period from the streams, or stills it; then starts or stops the timer.
    void restartFlow();
    void updateMotion();
    void onFrame();
    void refreshAccessibility();
    void paintPage(QPainter& painter);
    void paintForecast(QPainter& painter, const QRectF& content);
    void paintRadar(QPainter& painter, const QRectF& content);

    const HalvorenEngine& engine_;
    QSettings& settings_;
    weather::WeatherPage page_;
    bool reduceMotion_;
    std::optional<double> flowPeriod_;
    double dashPhase_ = 0.0;
    double breathScale_ = 1.0;
    int shownStreams_ = -1;
    AccentButton* forecastToggle_;
    AccentButton* radarToggle_;
    QTimer switchTimer_;
    QElapsedTimer switchClock_;
    QPixmap leaving_;
    QTimer frame_;
    QElapsedTimer clock_;
    EngineWatch watch_;
};

} // namespace halvoren
