#include "ui/components/hold_button.h"
#include "ui/dashboard/dashboard_values.h"
#include "ui/main_window/window_sections.h"
#include "ui/sensors/device_sensor_row.h"

#include <gtest/gtest.h>

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

TEST(DashboardForecast, ChipAndSpokenValueNameTheTimeAndThreshold) {
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
}

TEST(DashboardHeatSources, FirstFiveOfTheChosenListAndEmptyTexts) {
    std::vector<HeatSource> eight(8);
    std::vector<HeatSource> three(3);
    EXPECT_EQ(displayedHeatSources(HeatSourceMode::live, eight, three).size(), 5U);
    EXPECT_EQ(displayedHeatSources(HeatSourceMode::today, eight, three).size(), 3U);
    EXPECT_EQ(displayedHeatSources(HeatSourceMode::today, eight, {}).size(), 0U);
    EXPECT_EQ(heatShareText(0.416), "42%");
    EXPECT_EQ(heatShareText(std::nan("")), "0%");
}

TEST(DashboardTexts, DustCycleAndSensorRowWording) {
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
    PressAndHold hold;
    EXPECT_FALSE(hold.advance(5.0)); // never pressed
    hold.press(1.0);
    EXPECT_FALSE(hold.advance(2.19));
    EXPECT_NEAR(hold.progress(1.6), 0.5, 1e-9);
    hold.release();
    EXPECT_FALSE(hold.advance(9.0)); // let go at 1.19 s
    EXPECT_EQ(hold.progress(9.0), 0.0);
    hold.press(10.0);
    EXPECT_TRUE(hold.advance(11.2));
    EXPECT_FALSE(hold.advance(11.3));
}

TEST(WindowSections, RawValuesRoundTripAndUnknownIsTheDashboard) {
    for (const SectionInfo& info : sections) {
        EXPECT_EQ(sectionFromRaw(QString::fromUtf8(info.raw)), info.section);
    }
    for (const char* raw : {"", "Sensors", "history", "dashboard "}) {
        EXPECT_EQ(sectionFromRaw(QString::fromLatin1(raw)), Section::dashboard) << raw;
    }
}

// The window's test follows the other states through its banner and footer.
TEST(WindowSections, HelperTextsWhileConnectingAndWhenUnavailable) {
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

} // namespace
} // namespace halvoren::dashboard
