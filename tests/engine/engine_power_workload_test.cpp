#include "automation_fixture.h"

namespace halvoren {
namespace {

using PowerWorkloadTest = AutomationTest;

TEST_F(PowerWorkloadTest, ThePlainProfileGivesWayOnBatteryAndComesBackOnMains) {
    onBattery(true);
    EXPECT_EQ(state(), "-/Silent Stealth");
    engine->selectProfile(FanProfile::maxThermalBlast()); // the user's choice on battery stands
    onBattery(true);
    EXPECT_EQ(state(), "-/Max Thermal Blast");
    engine->updatePowerTelemetry(PowerTelemetry{.source = PowerSource::unknown}); // not battery
    EXPECT_EQ(state(), "-/Halvoren Standard");
    onBattery(false);
    EXPECT_EQ(state(), "-/Halvoren Standard");
}

TEST_F(PowerWorkloadTest, AMemoryWaitsBehindAClosedGate) {
    const CustomMode mode = CustomMode::renderingTemplate();
    engine->addCustomMode(mode);
    engine->selectCustomMode(mode.id);
    onBattery(true);
    EXPECT_EQ(state(), "-/Silent Stealth");
    EXPECT_FALSE(engine->activeCustomModeID().value());

    engine->engageTurbo();
    onBattery(false);
    EXPECT_EQ(state(), "turbo -/Turbo");
    engine->setAutoSwitchOnBattery(false);
    engine->disengageTurbo(); // back to Silent Stealth, the profile Turbo replaced
    onBattery(false);
    EXPECT_EQ(state(), "-/Silent Stealth");
    engine->setAutoSwitchOnBattery(true);
    onBattery(false); // the gate opens on mains: the profile below the custom mode returns
    EXPECT_EQ(state(), "-/Halvoren Standard");
    EXPECT_FALSE(engine->activeCustomModeID().value());

    // Turbo on battery: nothing, then the switch fires at the first reading after it ends.
    engine->engageTurbo();
    onBattery(true);
    EXPECT_EQ(state(), "turbo -/Turbo");
    engine->disengageTurbo();
    onBattery(true);
    EXPECT_EQ(state(), "-/Silent Stealth");
}

TEST_F(PowerWorkloadTest, WithNoProfileTheSwitchRemembersNothing) {
    makeEngine(std::nullopt);
    onBattery(true);
    EXPECT_EQ(state(), "-/Silent Stealth");
    onBattery(false);
    EXPECT_EQ(state(), "-/Silent Stealth");
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
