#pragma once

#include "core/heat_attribution.h"
#include "ui/components/module_card.h"
#include "ui/dashboard/dashboard_values.h"
#include "ui/engine_watch.h"

#include <QWidget>
#include <array>
#include <functional>
#include <string>

namespace halvoren {

class FooterButton;
class HalvorenEngine;
class NoticeView;
class PresetTabs;

// One application's share of the CPU: its icon, its name and its share; while hovered, a button
// that asks it to quit.
class HeatSourceRow : public QWidget {
public:
    explicit HeatSourceRow(QWidget* parent = nullptr);
    void setSource(const HeatSource& source);
    void setOnQuit(std::function<void(const std::string&)> quit) { onQuit_ = std::move(quit); }
    const HeatSource& source() const { return source_; }
    FooterButton& quitButton() const { return *quit_; }
    QSize sizeHint() const override { return {320, 36}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    HeatSource source_;
    FooterButton* quit_;
    std::function<void(const std::string&)> onQuit_;
    bool hovered_ = false;
};

// The applications heating the machine now or today, the first few of each.
class HeatSourcesCard : public ModuleCard {
public:
    HeatSourcesCard(const HalvorenEngine& engine, QWidget* parent = nullptr);

    // The quit request; by default the platform asks the user's own processes to end.
    void setOnQuit(const std::function<void(const std::string&)>& quit);
    void setMode(dashboard::HeatSourceMode mode);
    dashboard::HeatSourceMode mode() const { return mode_; }

    PresetTabs& modeTabs() const { return *tabs_; }
    const std::array<HeatSourceRow*, dashboard::heatSourceLimit>& rows() const { return rows_; }
    NoticeView& emptyState() const { return *empty_; }

private:
    void refresh();

    const HalvorenEngine& engine_;
    dashboard::HeatSourceMode mode_ = dashboard::HeatSourceMode::live;
    PresetTabs* tabs_;
    std::array<HeatSourceRow*, dashboard::heatSourceLimit> rows_{};
    NoticeView* empty_;
    EngineWatch watch_;
};

} // namespace halvoren
