#pragma once

#include "ui/engine_watch.h"
#include "ui/sensors/sensor_list.h"

#include <QWidget>
#include <optional>
#include <string>
#include <vector>

class QLabel;
class QLineEdit;
class QScrollArea;
class QSettings;
class QVBoxLayout;

namespace halvoren {

class DeviceSensorRow;
class HalvorenEngine;
class ModuleCard;
class NoticeView;
class PresetTabs;
class SensorGroupHeader;
class SensorRow;

// The Sensors section: the key readings of the machine in short, or every sensor grouped by
// class with pinning, narrowed by the search field (which the window puts in its toolbar).
// The scope is kept in the settings.
class SensorsView : public QWidget {
public:
    SensorsView(HalvorenEngine& engine, QSettings& settings, QWidget* parent = nullptr);

    QLineEdit& searchField() const { return *search_; }
    PresetTabs& scopeTabs() const { return *scope_; }
    void setShowAll(bool showAll);
    bool showAll() const { return showAll_; }
    bool isFull() const;

    const QString& heading() const { return heading_; }
    const QString& countText() const { return count_; }
    NoticeView& emptyState() const { return *empty_; }
    NoticeView& noResults() const { return *noResults_; }
    const std::vector<DeviceSensorRow*>& essentialRows() const { return essentialRows_; }
    const std::vector<SensorGroupHeader*>& groupHeaders() const { return groupHeaders_; }
    const std::vector<SensorRow*>& sensorRows() const { return sensorRows_; }
    const std::optional<std::string>& expandedSensorID() const { return expandedSensorID_; }

private:
    void refresh();
    void refreshEssentials();
    void refreshFull();
    void toggleExpansion(const std::string& id);

    HalvorenEngine& engine_;
    QSettings& settings_;
    QLineEdit* search_;
    QLabel* headingLabel_;
    QLabel* countLabel_;
    PresetTabs* scope_;
    NoticeView* empty_;
    NoticeView* noResults_;
    QScrollArea* scroller_;
    ModuleCard* essentials_;
    QWidget* full_;
    QVBoxLayout* fullColumn_;
    std::vector<DeviceSensorRow*> essentialRows_;
    std::vector<SensorGroupHeader*> groupHeaders_;
    std::vector<SensorRow*> sensorRows_;
    // The shape of the full list as last built: a rebuild only when it changes.
    std::vector<std::string> fullShape_;
    QString heading_;
    QString count_;
    std::optional<std::string> expandedSensorID_;
    bool showAll_ = false;
    EngineWatch watch_;
};

} // namespace halvoren
