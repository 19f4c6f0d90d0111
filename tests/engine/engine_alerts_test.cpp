#include "automation_fixture.h"

namespace halvoren {
namespace {

class EngineAlertsTest : public AutomationTest {
protected:
    void SetUp() override {
        AutomationTest::SetUp();
        notifications->usable = false; // every alert is a banner
        engine->setOverheatThreshold(150.0);
    }

    // A fresh sweep with a CPU and a GPU sensor at these readings.
    void sweepAt(double cpu, double gpu) {
        clock.advance(1.0);
        engine->recordTelemetry(sweep({temperatureSensor("TC0P", cpu, SensorCategory::cpu),
                                       temperatureSensor("TG0P", gpu, SensorCategory::gpu)},
                                      fans));
    }
    void boostOn(SensorCategory category) { engine->setAlertRule(category, true, 95.0, true); }
};

TEST_F(EngineAlertsTest, AutoBoostHoldsTurboUntilTheLastRuleFalls) {
    boostOn(SensorCategory::cpu);
    boostOn(SensorCategory::gpu);
    sweepAt(94.9, 60.0);
    EXPECT_EQ(state(), "-/Halvoren Standard");
    sweepAt(95.0, 60.0); // the threshold itself triggers
    EXPECT_EQ(state(), "turbo -/Turbo");
    EXPECT_EQ(engine->alerts().inAppAlert().value(), "Sensor TC0P is running hot at 95\u00B0C");
    sweepAt(99.0, 97.0);
    sweepAt(90.0, 97.0); // the GPU still holds
    EXPECT_EQ(state(), "turbo -/Turbo");
    sweepAt(90.0, 94.0);
    EXPECT_EQ(state(), "-/Halvoren Standard");

    // An empty sweep evaluates nothing; a disabled rule is not evaluated at all.
    sweepAt(96.0, 60.0);
    engine->recordTelemetry(sweep({}, fans));
    engine->setAlertRule(SensorCategory::cpu, false, std::nullopt, std::nullopt);
    sweepAt(80.0, 60.0);
    EXPECT_EQ(state(), "turbo -/Turbo");
}

TEST_F(EngineAlertsTest, ARuleNeverEndsTheUsersTurbo) {
    boostOn(SensorCategory::cpu);
    engine->engageTurbo();
    sweepAt(97.0, 60.0);
    sweepAt(80.0, 60.0);
    EXPECT_EQ(state(), "turbo -/Turbo");

    // The user ends Turbo while the rule holds: the hold goes too, and the rule, still
    // triggered, does not engage again until it has fallen and risen.
    sweepAt(97.0, 60.0);
    engine->disengageTurbo();
    sweepAt(98.0, 60.0);
    EXPECT_EQ(state(), "-/Halvoren Standard");
    sweepAt(80.0, 60.0);
    sweepAt(97.0, 60.0);
    EXPECT_EQ(state(), "turbo -/Turbo");
}

TEST_F(EngineAlertsTest, ARuleThatJoinsACooldownLeavesItsTurboToTheUser) {
    boostOn(SensorCategory::cpu);
    engine->startCooldown(60.0);
    sweepAt(97.0, 60.0);
    timers.advance(60.0); // the holder keeps Turbo past the cooldown's end
    EXPECT_EQ(state(), "turbo -/Turbo");
    sweepAt(80.0, 60.0); // not engaged by the rule, so not ended by it
    EXPECT_EQ(state(), "turbo -/Turbo");
}

TEST_F(EngineAlertsTest, SettingOneFieldOfARuleKeepsTheOthers) {
    engine->setAlertRule(SensorCategory::cpu, std::nullopt, 80.0, std::nullopt);
    EXPECT_EQ(*findEntry(engine->alertRules().value(), SensorCategory::cpu),
              (AlertRule{.enabled = false, .thresholdCelsius = 80.0, .autoBoost = false}));
    engine->resetAlertRules();
    EXPECT_EQ(engine->alertRules().value(), defaultAlertRules());
}

} // namespace
} // namespace halvoren
