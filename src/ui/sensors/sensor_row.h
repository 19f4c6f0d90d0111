#pragma once

#include "core/sensor.h"

#include <QWidget>
#include <functional>

class QAction;
class QMenu;

namespace halvoren {

// One sensor of the full list: its name, a pin mark while pinned, and its value at the end.
// Its context menu pins or unpins it.
class SensorRow : public QWidget {
public:
    static constexpr int rowHeight = 30;

    explicit SensorRow(QWidget* parent = nullptr);

    void setSensor(const SMCSensor& sensor, bool pinned, bool fahrenheit, bool precise);
    void setOnTogglePin(std::function<void(const std::string& key)> toggle) {
        onTogglePin_ = std::move(toggle);
    }

    const SMCSensor& sensor() const { return sensor_; }
    bool isPinned() const { return pinned_; }
    QAction& pinAction() const { return *pinAction_; }
    QSize sizeHint() const override { return {320, rowHeight}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    SMCSensor sensor_;
    bool pinned_ = false;
    QString value_;
    std::function<void(const std::string&)> onTogglePin_;
    QMenu* menu_;
    QAction* pinAction_;
};

// The heading of a group of the full list: its title, and its count at the right.
class SensorGroupHeader : public QWidget {
public:
    explicit SensorGroupHeader(QWidget* parent = nullptr);
    void setContent(QString title, std::size_t count);
    const QString& title() const { return title_; }
    const QString& countText() const { return count_; }
    QSize sizeHint() const override { return {320, 26}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString title_;
    QString count_;
};

} // namespace halvoren
