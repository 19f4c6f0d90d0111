#include "ui/components/hold_button.h"
#include "ui/components/notice_view.h"
#include "ui/dashboard/dashboard_values.h"
#include "ui/dashboard/dashboard_view.h"
#include "ui/dashboard/dust_cycle_sheet.h"
#include "ui/dashboard/fan_control_card.h"
#include "ui/dashboard/heat_sources_card.h"
#include "ui/main_window/window_sections.h"
#include "ui/panel/panel_buttons.h"
#include "ui/sensors/device_sensor_row.h"
#include "ui/ui_engine_fixture.h"

#include <QAction>
#include <QLabel>

namespace halvoren::dashboard {
namespace {

FanProfile constant(std::int64_t rpm, std::string name = "Manual Lock") {
    return FanProfile{.id = Uuid::random(),
                      .name = std::move(name),
                      .mode = ControlMode::constantRPM,
                      .constantTargetRPM = rpm,
                      .targetSensorGroupID = "max",
                      .curvePoints = {}};
}

TEST(DashboardMode, FollowsTargetsThenBuiltInsThenTheKindOfProfile) {
    const std::map<int, double> held{{0, 2000.0}};
    FanProfile curve = FanProfile::halvorenStandard();
    curve.id = Uuid::random();
    // A preset's capped curve keeps its base's identity and reads as that mode.
    FanProfile cappedQuiet = FanProfile::silentStealth();
    cappedQuiet.curvePoints.clear();
    struct Case {
        std::map<int, double> targets;
        std::optional<FanProfile> profile;
        bool turbo;
        FanMode expected;
    };
    const std::vector<Case> cases{
        {held, FanProfile::appleAuto(), false, FanMode::manual},
        {{}, FanProfile::appleAuto(), false, FanMode::automatic},
        {{}, cappedQuiet, false, FanMode::silent},
        {{}, FanProfile::halvorenStandard(), false, FanMode::balanced},
        {{}, FanProfile::maxThermalBlast(), true, FanMode::max},
        {{}, constant(3000), false, FanMode::manual},
        {{}, constant(FanProfile::unlimitedRPM, "Turbo"), true, FanMode::max},
        {{}, curve, false, FanMode::max},
        {{}, std::nullopt, false, FanMode::max},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        EXPECT_EQ(currentMode(c.targets, c.profile, c.turbo), c.expected) << "case " << i;
    }
}

TEST(DashboardTexts, ForecastChipHeatSourcesDustCycleAndSensorRows) {
    const ForecastChipState steady{.symbolName = "arrow.right", .labelWord = "Steady", .etaWholeMinutes = {}};
    const ForecastChipState soon{
        .symbolName = "arrow.up.right", .labelWord = "Rising", .etaWholeMinutes = 14};
    EXPECT_EQ(forecastChipText(steady, 95.0, false, false), "Steady");
    EXPECT_EQ(forecastChipText(soon, 95.0, false, false), "14 min to 95°C");
    EXPECT_EQ(forecastChipText(soon, 95.0, true, false), "14 min to 203°F");
    EXPECT_EQ(forecastAccessibilityValue(soon, 95.0, false, false), "Rising, about 14 minutes to 95 degrees");
    EXPECT_EQ(forecastAccessibilityValue(steady, 95.0, false, false), "Steady");
}

TEST(DashboardSensors, PinnedFirstInOrderThenHottestUpToSix) {
    const auto reading = [](const std::string& id, std::optional<double> value) {
        return DeviceSensorReading{.id = id, .name = id, .symbol = "cpu", .value = value};
    };
    const std::vector<DeviceSensorReading> all{reading("a", 40), reading("b", 70), reading("c", std::nullopt),
                                               reading("d", 55), reading("e", 90), reading("f", 60),
                                               reading("g", 65), reading("h", 30)};
    const auto ids = [](const std::vector<DeviceSensorReading>& shown) {
        std::string text;
        for (const auto& reading : shown) {
            text += reading.id;
        }
        return text;
    };
    EXPECT_EQ(ids(dashboardSensorReadings(all, {"h", "c"})), "chebgf");
    EXPECT_EQ(ids(dashboardSensorReadings({reading("x", std::nullopt), reading("y", 20)}, {})), "yx");

    std::vector<HeatSource> eight(8);
    std::vector<HeatSource> three(3);
    EXPECT_EQ(displayedHeatSources(HeatSourceMode::live, eight, three).size(), 5U);
    EXPECT_EQ(displayedHeatSources(HeatSourceMode::today, eight, three).size(), 3U);
    EXPECT_EQ(displayedHeatSources(HeatSourceMode::today, eight, {}).size(), 0U);
    EXPECT_EQ(heatShareText(0.416), "42%");
    EXPECT_EQ(heatShareText(std::nan("")), "0%");

    EXPECT_EQ(dustCycleRunningText(DustCycleUIState::running(12)), "Dust cycle \u00b7 12s");
    EXPECT_FALSE(dustCycleRunningText(DustCycleUIState::completed()));
    const DeviceSensorReading none{
        .id = "TB0T", .name = "Battery", .symbol = "battery.100percent", .value = {}};
    EXPECT_EQ(sensor_row::valueText(none, false, false), "\u2014");
    EXPECT_EQ(sensor_row::accessibleLabel(none, false, false), "Battery, no reading");
    EXPECT_EQ(sensor_row::graphTemperature(none, {}), 0.0);
    EXPECT_EQ(sensor_row::graphTemperature(none, {40.0, 47.0}), 47.0);
    DeviceSensorReading live = none;
    live.value = 36.6;
    EXPECT_EQ(sensor_row::accessibleLabel(live, false, true), "Battery, 36.6°C");
    EXPECT_EQ(sensor_row::graphTemperature(live, {40.0}), 36.6);
}

TEST(PressAndHold, CountsOnlyAFullHoldAndOnlyOnce) {
    // A hold let go too soon is the dust cycle sheet's test.
    PressAndHold hold;
    EXPECT_FALSE(hold.advance(5.0)); // never pressed
    hold.press(1.0);
    EXPECT_NEAR(hold.progress(1.6), 0.5, 1e-9);
    hold.release();
    EXPECT_EQ(hold.progress(9.0), 0.0);
    hold.press(10.0);
    EXPECT_TRUE(hold.advance(11.2));
    EXPECT_FALSE(hold.advance(11.3));
}

// The window's test reads a stored section back and follows the other helper states through its
// banner and footer.
TEST(WindowSections, UnknownRawIsTheDashboardAndHelperTextsWhileConnectingOrUnavailable) {
    for (const char* raw : {"", "Sensors", "history", "dashboard "}) {
        EXPECT_EQ(sectionFromRaw(QString::fromLatin1(raw)), Section::dashboard) << raw;
    }
    EXPECT_EQ(helperFooterText(HelperState::enabled()), "Connecting\u2026");
    EXPECT_EQ(helperBannerText(HelperState::enabled(), true)->action, HelperAction::none);
    // Without the controller there is nothing a helper could fix.
    const auto closed = helperBannerText(HelperState::unavailable("cannot open AppleSMC"), false);
    EXPECT_EQ(closed->title, "Sensors unavailable");
    EXPECT_EQ(closed->action, HelperAction::none);
    const auto crashed = helperBannerText(HelperState::unavailable("helper crashed"), true);
    EXPECT_EQ(crashed->title, "SMC unavailable: helper crashed");
    EXPECT_EQ(crashed->detail, "helper crashed");
    EXPECT_EQ(crashed->action, HelperAction::install);
}

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
    EXPECT_EQ(fans.modeTabs().current(), static_cast<int>(FanMode::automatic));
    EXPECT_TRUE(fans.emptyState().isHidden());
    engine->selectPreset(FanPreset::quiet);
    fans.modeTabs().tabs()[static_cast<std::size_t>(FanMode::balanced)]->click();
    EXPECT_EQ(engine->activeProfile().value()->id, FanProfile::halvorenStandard().id);
    EXPECT_FALSE(engine->activePreset().value().has_value());
    EXPECT_EQ(fans.modeTabs().current(), static_cast<int>(FanMode::balanced));
    fans.modeTabs().tabs()[static_cast<std::size_t>(FanMode::manual)]->click();
    EXPECT_EQ(engine->manualFanTargets().value().size(), 2U);
    EXPECT_EQ(fans.modeTabs().current(), static_cast<int>(FanMode::manual));

    // The source menu sets the control source; an unavailable source says so.
    fans.basedOnMenu().actions()[static_cast<int>(ControlSource::gpuAverage)]->trigger();
    EXPECT_EQ(engine->controlSource().value(), ControlSource::gpuAverage);
    EXPECT_EQ(fans.basedOnButton().accessibleName(), "Based on GPU Average");
    EXPECT_EQ(fans.basedOnNote().isHidden(), !engine->controlSourceUnavailable().value());
}

TEST_F(DashboardViewTest, OnlyOneSensorRowIsOpen) {
    sweep({temperature("TC0P", "CPU Proximity", 60.0),
           temperature("TB0T", "Battery", 31.0, SensorCategory::battery)});
    DashboardView& dash = build();
    std::vector<DeviceSensorRow*> shown;
    std::ranges::copy_if(dash.sensorRows(), std::back_inserter(shown),
                         [](auto* row) { return !row->isHidden(); });
    ASSERT_GE(shown.size(), 2U);
    const auto open = [&] { return std::ranges::count_if(shown, &DeviceSensorRow::isExpanded); };
    shown.front()->click();
    EXPECT_TRUE(shown.front()->isExpanded());
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

TEST_F(DashboardViewTest, WithoutFansAnEmptyStateAndNoDustCycleAndHeatSourceRowsOfferToQuit) {
    FanControlCard& fans = build().fanControl();
    EXPECT_FALSE(fans.emptyState().isHidden());
    EXPECT_FALSE(fans.dustCycleButton().isEnabled());
    EXPECT_TRUE(fans.dustCycleStatus().isHidden());

    HeatSourcesCard& heat = view->heatSources();
    EXPECT_EQ(heat.emptyState().title(), "Nothing hot right now");
    heat.modeTabs().tabs()[1]->click();
    EXPECT_EQ(heat.mode(), HeatSourceMode::today);
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
} // namespace halvoren::dashboard
