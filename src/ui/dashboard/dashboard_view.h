#pragma once

#include "ui/engine_watch.h"
#include "ui/main_window/window_sections.h"

#include <QScrollArea>
#include <array>
#include <functional>
#include <optional>
#include <string>

class QSettings;

namespace halvoren {

class DeviceSensorRow;
class FanControlCard;
class FooterButton;
class HalvorenEngine;
class HeatSourcesCard;

// The temperature in large figures with the forecast chip beside it, and what drives the fans.
class GaugeView : public QWidget {
public:
    explicit GaugeView(const HalvorenEngine& engine, QWidget* parent = nullptr);
    const QString& chipText() const { return chipText_; }
    QWidget& chip() const { return *chip_; }
    const QString& statusLine() const { return status_; }
    QSize sizeHint() const override { return {420, 112}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void refresh();

    const HalvorenEngine& engine_;
    QWidget* chip_;
    QString chipText_;
    QString status_;
    EngineWatch watch_;
};

// The Dashboard: weather, the gauge, the key sensors, fan control and heat sources, each on a
// card, in one scrolling column no wider than `maximumContentWidth`.
class DashboardView : public QScrollArea {
public:
    static constexpr int maximumContentWidth = 1180;

    DashboardView(HalvorenEngine& engine, QSettings& settings,
                  const std::function<void(Section)>& openSection, QWidget* parent = nullptr);

    GaugeView& gauge() const { return *gauge_; }
    const std::array<DeviceSensorRow*, 6>& sensorRows() const { return sensorRows_; }
    const std::optional<std::string>& expandedSensorID() const { return expandedSensorID_; }
    void toggleSensorExpansion(const std::string& id);
    FooterButton& allSensorsButton() const { return *allSensors_; }
    FanControlCard& fanControl() const { return *fanControl_; }
    HeatSourcesCard& heatSources() const { return *heatSources_; }

private:
    void refreshSensors();
    void showDustCycleSheet();

    HalvorenEngine& engine_;
    GaugeView* gauge_;
    std::array<DeviceSensorRow*, 6> sensorRows_{};
    std::optional<std::string> expandedSensorID_;
    FooterButton* allSensors_;
    FanControlCard* fanControl_;
    HeatSourcesCard* heatSources_;
    EngineWatch watch_;
};

} // namespace halvoren
