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

    // Fresh sweeps a second apart, each with a CPU and a GPU sensor at these readings, then the state.
    std::string afterSweeps(std::initializer_list<std::pair<double, double>> readings) {
        for (const auto& [cpu, gpu] : readings) {
            clock.advance(1.0);
            engine->recordTelemetry(sweep({temperatureSensor("TC0P", cpu, SensorCategory::cpu),
                                           temperatureSensor("TG0P", gpu, SensorCategory::gpu)},
                                          fans));
        }
        return state();
    }
    void boostOn(SensorCategory category) { engine->setAlertRule(category, true, 95.0, true); }
};

TEST_F(EngineAlertsTest, AutoBoostHoldsTurboUntilTheLastRuleFalls) {
    boostOn(SensorCategory::cpu);
    boostOn(SensorCategory::gpu);
    EXPECT_EQ(afterSweeps({{94.9, 60.0}}), "-/Halvoren Standard");
    EXPECT_EQ(afterSweeps({{95.0, 60.0}}), "turbo -/Turbo"); // the threshold itself triggers
    EXPECT_EQ(engine->alerts().inAppAlert().value(), "Sensor TC0P is running hot at 95\u00B0C");
    EXPECT_EQ(afterSweeps({{99.0, 97.0}, {90.0, 97.0}}), "turbo -/Turbo"); // the GPU still holds
    EXPECT_EQ(afterSweeps({{90.0, 94.0}}), "-/Halvoren Standard");

    // An empty sweep evaluates nothing; a disabled rule is not evaluated at all.
    afterSweeps({{96.0, 60.0}});
    engine->recordTelemetry(sweep({}, fans));
    engine->setAlertRule(SensorCategory::cpu, false, std::nullopt, std::nullopt);
    EXPECT_EQ(afterSweeps({{80.0, 60.0}}), "turbo -/Turbo");
}

TEST_F(EngineAlertsTest, ARuleNeverEndsTheUsersTurbo) {
    boostOn(SensorCategory::cpu);
    after("turbo");
    EXPECT_EQ(afterSweeps({{97.0, 60.0}, {80.0, 60.0}}), "turbo -/Turbo");

    // The user ends Turbo while the rule holds: the hold goes too, and the rule, still
    // triggered, does not engage again until it has fallen and risen.
    afterSweeps({{97.0, 60.0}});
    after("unturbo");
    EXPECT_EQ(afterSweeps({{98.0, 60.0}}), "-/Halvoren Standard");
    EXPECT_EQ(afterSweeps({{80.0, 60.0}, {97.0, 60.0}}), "turbo -/Turbo");
}

TEST_F(EngineAlertsTest, ARuleThatJoinsACooldownLeavesItsTurboToTheUser) {
    boostOn(SensorCategory::cpu);
    after("cooldown");
    afterSweeps({{97.0, 60.0}});
    timers.advance(60.0); // the holder keeps Turbo past the cooldown's end
    EXPECT_EQ(state(), "turbo -/Turbo");
    EXPECT_EQ(afterSweeps({{80.0, 60.0}}), "turbo -/Turbo"); // not engaged by the rule, so not ended by it
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
