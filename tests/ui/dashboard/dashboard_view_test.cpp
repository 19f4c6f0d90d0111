#include "ui/components/hold_button.h"
#include "ui/components/notice_view.h"
#include "ui/dashboard/dashboard_view.h"
#include "ui/dashboard/dust_cycle_sheet.h"
#include "ui/dashboard/fan_control_card.h"
#include "ui/dashboard/heat_sources_card.h"
#include "ui/panel/panel_buttons.h"
#include "ui/sensors/device_sensor_row.h"
#include "ui/ui_engine_fixture.h"

#include <QAction>
#include <QLabel>

namespace halvoren {
namespace {

class DashboardViewTest : public UiEngineTest {
protected:
    DashboardView& build() {
        view = std::make_unique<DashboardView>(*engine, settings, [this](Section s) { opened.push_back(s); });
        view->resize(900, 700);
        view->show();
        return *view;
    }

    std::unique_ptr<DashboardView> view;
    std::vector<Section> opened;
};

TEST_F(DashboardViewTest, ModeSegmentsDriveTheEngineAndFollowIt) {
    sweep(50.0, {fan(0, 2000.0), fan(1, 2100.0)});
    FanControlCard& fans = build().fanControl();
    EXPECT_EQ(fans.modeTabs().current(), static_cast<int>(dashboard::FanMode::automatic));
    EXPECT_TRUE(fans.emptyState().isHidden());
    EXPECT_EQ(fans.meters().size(), 2U);
    engine->selectPreset(FanPreset::quiet);
    fans.modeTabs().tabs()[static_cast<std::size_t>(dashboard::FanMode::balanced)]->click();
    EXPECT_EQ(engine->activeProfile().value()->id, FanProfile::halvorenStandard().id);
    EXPECT_FALSE(engine->activePreset().value().has_value());
    EXPECT_EQ(fans.modeTabs().current(), static_cast<int>(dashboard::FanMode::balanced));
    fans.modeTabs().tabs()[static_cast<std::size_t>(dashboard::FanMode::manual)]->click();
    EXPECT_EQ(engine->manualFanTargets().value().size(), 2U);
    EXPECT_EQ(fans.modeTabs().current(), static_cast<int>(dashboard::FanMode::manual));

    // The source menu sets the control source; an unavailable source says so.
    fans.basedOnMenu().actions()[static_cast<int>(ControlSource::gpuAverage)]->trigger();
    EXPECT_EQ(engine->controlSource().value(), ControlSource::gpuAverage);
    EXPECT_EQ(fans.basedOnButton().accessibleName(), "Based on GPU Average");
    EXPECT_EQ(fans.basedOnNote().isHidden(), !engine->controlSourceUnavailable().value());
}

TEST_F(DashboardViewTest, WithoutFansAnEmptyStateAndNoDustCycle) {
    FanControlCard& fans = build().fanControl();
    EXPECT_FALSE(fans.emptyState().isHidden());
    EXPECT_FALSE(fans.dustCycleButton().isEnabled());
    EXPECT_TRUE(fans.dustCycleStatus().isHidden());
}

TEST_F(DashboardViewTest, OnlyOneSensorRowIsOpen) {
    sweep({temperature("TC0P", "CPU Proximity", 60.0),
           temperature("TB0T", "Battery", 31.0, SensorCategory::battery)});
    DashboardView& dash = build();
    std::vector<DeviceSensorRow*> shown;
    for (DeviceSensorRow* row : dash.sensorRows()) {
        if (!row->isHidden()) {
            shown.push_back(row);
        }
    }
    ASSERT_GE(shown.size(), 2U);
    const auto open = [&] { return std::ranges::count_if(shown, &DeviceSensorRow::isExpanded); };
    shown.front()->click();
    EXPECT_TRUE(shown.front()->isExpanded());
    EXPECT_EQ(shown.front()->accessibleDescription(), "Double tap to collapse history");
    shown.back()->click();
    EXPECT_EQ(open(), 1);
    EXPECT_TRUE(shown.back()->isExpanded());
    shown.back()->click();
    EXPECT_EQ(open(), 0);
    dash.allSensorsButton().click();
    EXPECT_EQ(opened, std::vector<Section>{Section::sensors});
}

TEST_F(DashboardViewTest, TheDustCycleNeedsAFullHold) {
    connect();
    sweep(50.0, {fan(0, 2000.0)});
    DustCycleSheet sheet(*engine);
    sheet.open();
    HoldButton& start = sheet.startButton();
    start.beginHold(0.0);
    start.advance(1.1);
    start.endHold();
    start.advance(3.0);
    EXPECT_FALSE(engine->isDustCycleRunning());
    EXPECT_TRUE(sheet.isVisible());
    start.beginHold(5.0);
    start.advance(6.2);
    EXPECT_TRUE(engine->isDustCycleRunning());
    EXPECT_FALSE(sheet.isVisible());

    FanControlCard& fans = build().fanControl();
    EXPECT_EQ(fans.dustCycleStatus().text().left(13), "Dust cycle \u00b7 ");
    EXPECT_TRUE(fans.dustCycleButton().isHidden());
    fans.dustCycleCancel().click();
    EXPECT_FALSE(engine->isDustCycleRunning());
}

TEST_F(DashboardViewTest, HeatSourceRowsOfferToQuitTheirApplication) {
    HeatSourcesCard& heat = build().heatSources();
    EXPECT_EQ(heat.emptyState().title(), "Nothing hot right now");
    heat.modeTabs().tabs()[1]->click();
    EXPECT_EQ(heat.mode(), dashboard::HeatSourceMode::today);
    EXPECT_EQ(heat.emptyState().title(), "No activity recorded today");

    std::vector<std::string> quits;
    heat.setOnQuit([&](const std::string& name) { quits.push_back(name); });
    HeatSourceRow& row = *heat.rows()[0];
    row.setSource(HeatSource{.name = "Compiler", .cpuShare = 0.5, .cpuSeconds = 3.0, .pid = 42});
    EXPECT_EQ(row.accessibleName(), "Compiler, 50%");
    EXPECT_EQ(row.quitButton().accessibleName(), "Quit Compiler");
    row.quitButton().click();
    EXPECT_EQ(quits, std::vector<std::string>{"Compiler"});
}

} // namespace
} // namespace halvoren
