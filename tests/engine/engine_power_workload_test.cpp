#include "automation_fixture.h"

namespace halvoren {
namespace {

using PowerWorkloadTest = AutomationTest;

TEST_F(PowerWorkloadTest, ThePlainProfileGivesWayOnBatteryAndComesBackOnMains) {
    EXPECT_EQ(after("battery"), "-/Silent Stealth");
    EXPECT_EQ(after("blast battery"), "-/Max Thermal Blast"); // the user's choice on battery stands
    engine->updatePowerTelemetry(PowerTelemetry{.source = PowerSource::unknown}); // not battery
    EXPECT_EQ(state(), "-/Halvoren Standard");
    EXPECT_EQ(after("mains"), "-/Halvoren Standard");
}

TEST_F(PowerWorkloadTest, AMemoryWaitsBehindAClosedGate) {
    EXPECT_EQ(after("mode battery"), "-/Silent Stealth");
    EXPECT_FALSE(engine->activeCustomModeID().value());
    EXPECT_EQ(after("turbo mains"), "turbo -/Turbo");
    engine->setAutoSwitchOnBattery(false);
    // Back to Silent Stealth, the profile Turbo replaced.
    EXPECT_EQ(after("unturbo mains"), "-/Silent Stealth");
    engine->setAutoSwitchOnBattery(true);
    // The gate opens on mains: the profile below the custom mode returns.
    EXPECT_EQ(after("mains"), "-/Halvoren Standard");
    EXPECT_FALSE(engine->activeCustomModeID().value());

    // Turbo on battery: nothing, then the switch fires at the first reading after it ends.
    EXPECT_EQ(after("turbo battery"), "turbo -/Turbo");
    EXPECT_EQ(after("unturbo battery"), "-/Silent Stealth");
}

TEST_F(PowerWorkloadTest, WithNoProfileTheSwitchRemembersNothing) {
    makeEngine(std::nullopt);
    EXPECT_EQ(after("battery"), "-/Silent Stealth");
    EXPECT_EQ(after("mains"), "-/Silent Stealth");
}

TEST_F(PowerWorkloadTest, TheFloorIsTheStrongestReasonNotTheSum) {
    EXPECT_EQ(engine->effectiveFloor(), 0.0);
    engine->setClamshell(true);
    EXPECT_EQ(engine->effectiveFloor(), 0.1);
    EXPECT_TRUE(engine->isClamshell().value());
    engine->updatePowerTelemetry(PowerTelemetry{.source = PowerSource::ac, .systemWatts = 12.5});
    EXPECT_TRUE(engine->powerTelemetry()->isClamshell); // the lid is the engine's, not the reading's

    applications->launch("org.blenderfoundation.blender");
    // The loop's power slice may read the lid before the test goes on; it reads it closed too.
    power->set(PowerReading{.telemetry = {}, .clamshell = true});
    engine->start(); // seeds from the running applications, then follows them
    applications->launch("com.example.editor");
    EXPECT_EQ(engine->effectiveFloor(), 0.55);
    EXPECT_EQ(engine->processWorkloadImpact().value(), 0.55);
    applications->terminate("org.blenderfoundation.blender");
    EXPECT_EQ(engine->effectiveFloor(), 0.1);
    engine->setClamshell(false);
    EXPECT_EQ(engine->effectiveFloor(), 0.0);
}

} // namespace
} // namespace halvoren
