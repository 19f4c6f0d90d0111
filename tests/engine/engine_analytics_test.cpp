#include "engine_fixture.h"

#include <QFile>

namespace halvoren {
namespace {

class EngineAnalyticsTest : public EngineTest {
protected:
    void SetUp() override { makeEngine(); }

    // A fresh sweep five seconds after the last, where the named CPU sensor reads `celsius`.
    void second(double celsius) {
        clock.advance(5.0);
        SensorPoller::Snapshot snapshot = sweep({temperatureSensor("TC0P", celsius)}, fans);
        // A raw key reading hotter than any named one does not count while a named one exists.
        SMCSensor raw = temperatureSensor("Tx9Z", celsius + 20.0);
        raw.name = raw.key;
        snapshot.allSensors.push_back(raw);
        engine->recordTelemetry(snapshot);
        engine->updateThermalTrend();
    }

    std::vector<FanStatus> fans{fan(0, 3000.0, 1200.0, 6000.0), fan(1, 4200.0, 1200.0, 6000.0)};
};

TEST_F(EngineAnalyticsTest, SweepsFeedTheHistoryTheTrendAndPreSpool) {
    engine->setOverheatThreshold(95.0);
    engine->setPreSpoolEnabled(true);
    // Up to 84 °C at 36 °C/min over 40 s: eleven degrees short is under a minute away.
    for (int i = 0; i < 9; ++i) {
        second(60.0 + 3.0 * i);
    }
    ASSERT_TRUE(engine->thermalTrend()->isRising());
    EXPECT_EQ(engine->forecastChip()->etaWholeMinutes, 0);
    EXPECT_EQ(engine->effectiveFloor(), 0.25);

    const std::vector<HistorySample> history = engine->telemetry().history();
    ASSERT_EQ(history.size(), 9u);
    EXPECT_EQ(history.back().maxTemp, 84.0);
    EXPECT_EQ(history.back().fanRPM, 4200.0);
    EXPECT_GT(history.back().fanWatts, 0.0);
    EXPECT_FALSE(engine->isOverheating().value());

    // A stale sweep records nothing; a gap in the readings leaves the trend as it was.
    SensorPoller::Snapshot stale = sweep({temperatureSensor("TC0P", 99.0)}, fans);
    stale.sensorsRefreshed = false;
    engine->recordTelemetry(stale);
    EXPECT_EQ(engine->telemetry().history().size(), 9u);
    second(96.0);
    EXPECT_TRUE(engine->isOverheating().value());
    engine->recordTelemetry(sweep({}, fans));
    engine->updateThermalTrend();
    EXPECT_EQ(engine->thermalTrend().value(), ThermalTrend::rising(std::nullopt)); // past the ceiling
    EXPECT_EQ(engine->effectiveFloor(), 0.0);
}

TEST_F(EngineAnalyticsTest, TheHistoryExportsAtomicallyOrSaysWhy) {
    second(50.0);
    second(51.0);
    const std::string path = dir.filePath(QStringLiteral("history.csv")).toStdString();
    ASSERT_TRUE(engine->writeHistoryCSV(path));
    QFile file(QString::fromStdString(path));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().count('\n'), 3); // the header and two samples

    EXPECT_FALSE(engine->writeHistoryCSV(dir.filePath(QStringLiteral("missing/history.csv")).toStdString()));
    ASSERT_TRUE(engine->lastError().value());
    EXPECT_TRUE(engine->lastError()->value().starts_with("CSV export failed: "));
}

TEST_F(EngineAnalyticsTest, AFanThatDoesNotFollowItsCommandIsWarnedOfUntilItDoes) {
    connect();
    notifications->usable = false;
    engine->setSpoolRate(9000.0);
    const std::vector<FanStatus> stopped{fan(0, 0.0), fan(1, 2990.0)};
    engine->apply(sweep({}, stopped));
    engine->setConstantRPM(3000);
    const auto pass = [&](const std::vector<FanStatus>& now, double seconds) {
        clock.advance(seconds);
        tick(now);
        SensorPoller::Snapshot snapshot = sweep({}, now);
        snapshot.sensorsRefreshed = false;
        engine->recordTelemetry(snapshot);
    };
    pass(stopped, 0.0);
    clock.sleepMachine(60.0); // asleep: the stall does not mature
    pass(stopped, 19.0);
    EXPECT_TRUE(engine->fanHealthWarnings()->empty());
    pass(stopped, 1.0);
    EXPECT_EQ(engine->fanHealthWarnings().value(),
              (std::map<int, FanHealthMonitor::Warning>{{0, FanHealthMonitor::Warning::stalled}}));
    const std::string stalledAlert = "Left Fan is commanded to 3000 RPM but isn't spinning.";
    EXPECT_EQ(engine->alerts().inAppAlert().value(), stalledAlert);
    engine->alerts().dismissInAppAlert();
    pass({fan(0, 2950.0), fan(1, 2990.0)}, 1.0);
    EXPECT_TRUE(engine->fanHealthWarnings()->empty());
    EXPECT_EQ(engine->alerts().inAppAlert().value(), std::nullopt); // recovery is silent

    // Re-armed by the recovery: the next failure, past the minute's throttle, alerts again.
    clock.advance(60.0);
    pass(stopped, 1.0);
    pass(stopped, 20.0);
    ASSERT_FALSE(engine->fanHealthWarnings()->empty());
    EXPECT_EQ(engine->alerts().inAppAlert().value(), stalledAlert);
    engine->setFanHealthWarningsEnabled(false);
    EXPECT_TRUE(engine->fanHealthWarnings()->empty());
    pass(stopped, 30.0);
    EXPECT_TRUE(engine->fanHealthWarnings()->empty());
}

} // namespace
} // namespace halvoren
