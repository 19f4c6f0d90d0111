#pragma once

#include "ui/components/module_card.h"
#include "ui/engine_watch.h"

#include <QMenu>
#include <functional>
#include <vector>

class QHBoxLayout;
class QLabel;
class QVBoxLayout;

namespace halvoren {

class FanFlowMeter;
class FooterButton;
class HalvorenEngine;
class NoticeView;
class PresetTabs;

// The Dashboard's fan control: what drives the automatic response, the mode segments, a meter
// and any health warning per fan, and the dust cycle.
class FanControlCard : public ModuleCard {
public:
    FanControlCard(HalvorenEngine& engine, QWidget* parent = nullptr);

    // Asked when the user starts a dust cycle; the window shows its confirmation sheet.
    void setOnDustCycle(std::function<void()> ask) { onDustCycle_ = std::move(ask); }

    PresetTabs& modeTabs() const { return *modeTabs_; }
    FooterButton& basedOnButton() const { return *basedOn_; }
    QMenu& basedOnMenu() { return sourceMenu_; }
    NoticeView& basedOnNote() const { return *basedOnNote_; }
    const std::vector<FanFlowMeter*>& meters() const { return meters_; }
    const std::vector<NoticeView*>& warnings() const { return warnings_; }
    NoticeView& emptyState() const { return *empty_; }
    FooterButton& dustCycleButton() const { return *dustButton_; }
    QLabel& dustCycleStatus() const { return *dustStatus_; }
    FooterButton& dustCycleCancel() const { return *dustCancel_; }

private:
    void refreshSource();
    void refreshMode();
    void refreshFans();
    void refreshWarnings();
    void refreshDustCycle();

    HalvorenEngine& engine_;
    FooterButton* basedOn_;
    QMenu sourceMenu_;
    NoticeView* basedOnNote_;
    PresetTabs* modeTabs_;
    QHBoxLayout* meterRow_;
    QVBoxLayout* warningColumn_;
    std::vector<FanFlowMeter*> meters_;
    std::vector<NoticeView*> warnings_;
    NoticeView* empty_;
    FooterButton* dustButton_;
    QLabel* dustStatus_;
    FooterButton* dustCancel_;
    std::function<void()> onDustCycle_;
    EngineWatch watch_;
};

} // namespace halvoren
