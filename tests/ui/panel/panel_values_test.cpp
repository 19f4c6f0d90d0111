#include "core/preset_profiles.h"
#include "ui/panel/panel_values.h"

#include <gtest/gtest.h>

namespace halvoren::panel {
namespace {

FanStatus fan(int id, double current, double min = 1200.0, double max = 6000.0) {
    return FanStatus{.id = id, .currentRPM = current, .minRPM = min, .maxRPM = max};
}

FanProfile constant(std::int64_t rpm) {
    FanProfile profile;
    profile.mode = ControlMode::constantRPM;
    profile.constantTargetRPM = rpm;
    return profile;
}

TEST(PanelValues, BoundsSpanEveryFanAndFallBackWithout) {
    const FanBounds none = fanBounds({});
    EXPECT_EQ(none.min, 1200.0);
    EXPECT_EQ(none.max, 6000.0);
    const FanBounds two = fanBounds({{0, fan(0, 0, 1400, 5800)}, {1, fan(1, 0, 1100, 5600)}});
    EXPECT_EQ(two.min, 1100.0);
    EXPECT_EQ(two.max, 5800.0);
}

TEST(PanelValues, SliderMapsBothWaysWithinTheBounds) {
    const FanBounds bounds{1100.0, 5800.0};
    EXPECT_EQ(sliderRPM(0.0, bounds), 1100.0);
    EXPECT_EQ(sliderRPM(1.0, bounds), 5800.0);
    EXPECT_EQ(sliderRPM(-0.5, bounds), 1100.0);
    EXPECT_EQ(sliderRPM(7.0, bounds), 5800.0);
    EXPECT_EQ(sliderRPM(0.5001, bounds), 3450.0);
    EXPECT_EQ(sliderRPM(std::nan(""), bounds), 1100.0);

    const FanMap fans{{0, fan(0, 2275, 1100, 5800)}};
    EXPECT_DOUBLE_EQ(sliderPosition(constant(3450), fans, bounds), 0.5);
    EXPECT_EQ(sliderPosition(constant(9000), fans, bounds), 1.0);
    EXPECT_EQ(sliderPosition(constant(FanProfile::unlimitedRPM), fans, bounds), 1.0);
    EXPECT_EQ(sliderPosition(constant(500), fans, bounds), 0.0);
    // Not a fixed speed: the fastest fan places it.
    EXPECT_DOUBLE_EQ(sliderPosition(FanProfile::halvorenStandard(), fans, bounds), 0.25);
    EXPECT_EQ(sliderPosition(std::nullopt, {}, FanBounds{}), 0.0);
    // Bounds with no width never divide by zero.
    EXPECT_EQ(sliderPosition(constant(3000), fans, FanBounds{3000.0, 3000.0}), 0.0);
}

TEST(PanelValues, ManualControlAndTheLitTab) {
    EXPECT_FALSE(isManualControl({}, std::nullopt));
    EXPECT_FALSE(isManualControl({}, FanProfile::halvorenStandard()));
    EXPECT_FALSE(isManualControl({}, constant(0)));
    EXPECT_TRUE(isManualControl({}, constant(2000)));
    EXPECT_TRUE(isManualControl({{0, 2000.0}}, std::nullopt));

    EXPECT_EQ(activeTier(FanPreset::quiet, FanProfile::maxThermalBlast()), FanPreset::quiet);
    // A capped copy keeps the base profile's identity and still lights its tab.
    FanProfile capped = baseProfile(FanPreset::auto_);
    capped.curvePoints.pop_back();
    EXPECT_EQ(activeTier(std::nullopt, capped), FanPreset::auto_);
    EXPECT_EQ(activeTier(std::nullopt, constant(2000)), std::nullopt);
    EXPECT_EQ(activeTier(std::nullopt, std::nullopt), std::nullopt);
}

TEST(PanelValues, SpokenAndShownTexts) {
    EXPECT_EQ(honestyLine(HelperState::unavailable("timeout")),
              QStringLiteral("Monitoring only. The fan-control helper is unavailable (timeout)."));
    EXPECT_EQ(heroAccessibilityValue(std::nullopt, false, false), QStringLiteral("no reading"));
    EXPECT_EQ(heroAccessibilityValue(61.4, false, false), QStringLiteral("61 degrees Celsius"));
    EXPECT_EQ(heroAccessibilityValue(50.0, true, true), QStringLiteral("122.0 degrees Fahrenheit"));

    EXPECT_EQ(fanMetersAccessibilityValue({{0, fan(0, 1999.6)}, {1, fan(1, 2400)}}),
              QStringLiteral("Left Fan 2000 RPM, Right Fan 2400 RPM"));
    EXPECT_EQ(fanMetersAccessibilityValue({{3, fan(3, 1800)}}), QStringLiteral("Fan 1800 RPM"));

    EXPECT_EQ(customModeDetail(ModeSpeed::fixed(0.705)), QStringLiteral("Fixed 71%"));
    EXPECT_EQ(customModeAccessibilityValue(ModeSpeed::floor(0.3)), QStringLiteral("30 percent, Minimum"));

    EXPECT_EQ(turboDetail({}), QStringLiteral("Max cooling"));
    EXPECT_EQ(turboDetail({{0, fan(0, 0.0)}}), QStringLiteral("Max cooling"));
    EXPECT_EQ(turboDetail({{0, fan(0, 5990.7)}, {1, fan(1, 6100)}}), QStringLiteral("6100 RPM"));
}

TEST(PanelValues, CountdownRoundsUpAndStopsAtZero) {
    const Clock::WallTime now{std::chrono::seconds{1000}};
    using std::chrono::milliseconds;
    EXPECT_EQ(cooldownCountdown(now, now + milliseconds(125'001)), QStringLiteral("2:06"));
    EXPECT_EQ(cooldownCountdown(now, now + milliseconds(60'000)), QStringLiteral("1:00"));
    EXPECT_EQ(cooldownCountdown(now, now + milliseconds(9'000)), QStringLiteral("0:09"));
    EXPECT_EQ(cooldownCountdown(now, now - milliseconds(3'000)), QStringLiteral("0:00"));
}

} // namespace
} // namespace halvoren::panel
