#pragma once

#include "core/device_sensor_map.h"
#include "ui/panel/panel_buttons.h"

#include <QString>
#include <functional>
#include <vector>

namespace halvoren {

class MiniGraph;

// What a device row says: its value text, its spoken label and hint, and its history's span.
namespace sensor_row {
// The number alone in the user's unit, or "—".
QString valueText(const DeviceSensorReading& reading, bool fahrenheit, bool precise);
// "CPU Proximity, 62°C", or "CPU Proximity, no reading".
QString accessibleLabel(const DeviceSensorReading& reading, bool fahrenheit, bool precise);
QString accessibleHint(bool expanded);
// The temperature the history graph is coloured by: the reading, else the newest stored
// value, else 0.
double graphTemperature(const DeviceSensorReading& reading, const std::vector<double>& history);
} // namespace sensor_row

// One device reading on one line: its symbol chip, its name and its value, with a chevron
// that turns while the row shows its recent history under the line.
class DeviceSensorRow : public AccentButton {
public:
    static constexpr int lineHeight = 40;

    explicit DeviceSensorRow(QWidget* parent = nullptr);

    void setReading(const DeviceSensorReading& reading, bool fahrenheit, bool precise);
    void setHistory(std::vector<double> history);
    void setExpanded(bool expanded);
    void setOnTap(std::function<void()> tap) { onTap_ = std::move(tap); }

    const DeviceSensorReading& reading() const { return reading_; }
    bool isExpanded() const { return expanded_; }
    MiniGraph* graph() const { return graph_; }

    QSize sizeHint() const override;

protected:
    void paintContent(QPainter& painter, const QRectF& rect) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void refresh();

    DeviceSensorReading reading_;
    std::vector<double> history_;
    bool fahrenheit_ = false;
    bool precise_ = false;
    bool expanded_ = false;
    std::function<void()> onTap_;
    MiniGraph* graph_;
};

} // namespace halvoren
