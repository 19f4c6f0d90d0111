#include "engine/thermal_almanac_store.h"
#include "engine_fixture.h"

#include <QFile>

namespace halvoren {
namespace {

class EngineWeatherTest : public EngineTest {
protected:
    QString almanacFile() const { return dir.filePath(QString::fromLatin1(ThermalAlmanacStore::fileName)); }

    // One second of the slice with the control sensor at `celsius`.
    void second(double celsius) {
        clock.advance(1.0);
        engine->apply(sweep({temperatureSensor("TC0P", celsius)}, {fan(0, 3000.0)}));
        engine->updateWeather();
    }

    void startAndLoad() {
        engine->start();
        ASSERT_TRUE(pumpUntil([&] { return engine->isAlmanacLoaded(); }));
        engine->stop();
    }
};

TEST_F(EngineWeatherTest, TheForecastFollowsTheSmoothedTemperature) {
    makeEngine();
    EXPECT_EQ(engine->weatherSnapshot().value(), WeatherSnapshot::placeholder());
    for (int i = 0; i < 60; ++i) {
        second(50.0);
    }
    EXPECT_EQ(engine->weatherSnapshot()->condition, WeatherCondition::clear);
    EXPECT_EQ(engine->weatherSnapshot()->forecastLine, "Clear · steady");
    // Now, then the next hour from the projection once a minute of samples exists.
    ASSERT_EQ(engine->weatherSnapshot()->hourly.size(), 2u);
    EXPECT_EQ(engine->weatherSnapshot()->hourly[1].temperature, 50.0);

    // Hot with the fan near its top: a storm, whatever the trend says.
    engine->apply(sweep({temperatureSensor("TC0P", 80.0)}, {fan(0, 5800.0)}));
    engine->updateWeather();
    EXPECT_EQ(engine->weatherSnapshot()->forecastLine, "Storm: fans answering, 80° holding");
    EXPECT_FALSE(engine->isAlmanacLoaded()); // never started: nothing recorded
    EXPECT_TRUE(engine->almanac().days.empty());
}

TEST_F(EngineWeatherTest, TheAlmanacIsReadBeforeItIsWrittenAndSavedAtMostEveryFiveMinutes) {
    // A corrupt file reads as empty and is replaced at the first save.
    {
        QFile corrupt(almanacFile());
        ASSERT_TRUE(corrupt.open(QIODevice::WriteOnly));
        corrupt.write("{\"days\": [");
    }
    makeEngine();
    engine->prepareForTermination(); // not read yet: the file is left alone
    QFile untouched(almanacFile());
    ASSERT_TRUE(untouched.open(QIODevice::ReadOnly));
    EXPECT_EQ(untouched.readAll(), "{\"days\": [");

    startAndLoad();
    second(61.0);
    ASSERT_TRUE(pumpUntil([&] { return !ThermalAlmanacStore::load(almanacFile()).days.empty(); }));
    second(70.0); // within five minutes: only in memory
    pumpFor(50);
    EXPECT_EQ(ThermalAlmanacStore::load(almanacFile()).days.back().hourPeaks.begin()->second, 61.0);
    engine->prepareForTermination();
    EXPECT_EQ(ThermalAlmanacStore::load(almanacFile()), engine->almanac());

    // A restart reads the hour's peak back.
    makeEngine();
    startAndLoad();
    EXPECT_EQ(engine->almanac().days.back().hourPeaks.begin()->second, 70.0);
}

} // namespace
} // namespace halvoren
