#include "engine/thermal_almanac_store.h"
#include "engine_fixture.h"

#include <QDir>
#include <QFile>
#include <filesystem>

namespace halvoren {
void PrintTo(const HeatSource& row, std::ostream* out) {
    *out << row.name << " share " << row.cpuShare << " seconds " << row.cpuSeconds << " pid " << row.pid;
}

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

    QString almanacFile() const { return dir.filePath(QString::fromLatin1(ThermalAlmanacStore::fileName)); }

    // One second of the slice with the control sensor at `celsius`.
    void weatherSecond(double celsius) {
        clock.advance(1.0);
        engine->apply(sweep({temperatureSensor("TC0P", celsius)}, {fan(0, 3000.0)}));
        engine->updateWeather();
    }

    void startAndLoad() {
        engine->start();
        ASSERT_TRUE(pumpUntil([&] { return engine->isAlmanacLoaded(); }));
        engine->stop();
    }
    // Moves time on a second at a time, each step awaiting its pass, until the processes are
    // read again; the seconds that took, or 0 when nothing was read within two minutes.
    int secondsUntilNextRead() {
        const int reads = processes->reads.load();
        for (int seconds = 1; seconds <= 120; ++seconds) {
            const std::uint64_t before = engine->passCount();
            timers.advance(1.0);
            pumpUntil([&] { return engine->passCount() > before; }, 3000);
            if (processes->reads.load() > reads) {
                return seconds;
            }
        }
        return 0;
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

TEST_F(EngineAnalyticsTest, TheForecastFollowsTheSmoothedTemperature) {
    EXPECT_EQ(engine->weatherSnapshot().value(), WeatherSnapshot::placeholder());
    for (int i = 0; i < 60; ++i) {
        weatherSecond(50.0);
    }
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

TEST_F(EngineAnalyticsTest, TheAlmanacIsReadBeforeItIsWrittenAndSavedAtMostEveryFiveMinutes) {
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
    weatherSecond(61.0);
    ASSERT_TRUE(pumpUntil([&] { return !ThermalAlmanacStore::load(almanacFile()).days.empty(); }));
    weatherSecond(70.0); // within five minutes: only in memory
    pumpFor(50);
    EXPECT_EQ(ThermalAlmanacStore::load(almanacFile()).days.back().hourPeaks.begin()->second, 61.0);
    engine->prepareForTermination();
    EXPECT_EQ(ThermalAlmanacStore::load(almanacFile()), engine->almanac());

    // A restart reads the hour's peak back.
    makeEngine();
    startAndLoad();
    EXPECT_EQ(engine->almanac().days.back().hourPeaks.begin()->second, 70.0);
}

using namespace std::chrono;

// A sampler over fake processes and a folder of its own, sampled at moments counted in
// seconds from 22:00 local time on 9 March 2026.
class HeatSamplerTest : public ::testing::Test {
protected:
    HeatAttributionSampler& make(const QString& directory) {
        sampler = std::make_unique<HeatAttributionSampler>(processes, directory);
        return *sampler;
    }
    HeatSnapshot sampleAt(double seconds) {
        const auto offset = duration_cast<system_clock::duration>(duration<double>(seconds));
        const auto local =
            floor<std::chrono::seconds>(local_seconds{local_days{2026y / March / 9} + hours{22}} + offset);
        return sampler->sampleNow(system_clock::time_point{std::chrono::seconds{1'773'090'000}} + offset,
                                  local);
    }
    // A sample after the editor (pid 7) has used `userSeconds` of processor time in all.
    HeatSnapshot editorAt(double userSeconds, double seconds) {
        processes->set(7, "Editor", userSeconds);
        return sampleAt(seconds);
    }
    QString path(const char* name) const { return dir.filePath(QString::fromLatin1(name)); }
    std::string read(const char* name) const {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "absent";
    }
    void write(const char* name, const char* text) const {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    QTemporaryDir dir;
    std::shared_ptr<FakeProcessCPUTimes> processes = std::make_shared<FakeProcessCPUTimes>();
    std::unique_ptr<HeatAttributionSampler> sampler;
};

TEST_F(HeatSamplerTest, LiveAndDailyListsWithTheDayKeptInItsFile) {
    write("heat-2026-03-09.json", R"({"totals":{"Mail":6}})");
    make(dir.path());
    processes->set(10, "Browser Helper (Renderer)", 100.0);
    processes->set(11, "Browser", 50.0);
    processes->set(12, "Editor", 10.0);
    // The first sample only takes baselines; the day comes from its file.
    HeatSnapshot first = sampleAt(0);
    EXPECT_TRUE(first.live.empty());
    EXPECT_EQ(first.daily, (std::vector<HeatSource>{{"Mail", 1.0, 6.0, 0}}));

    processes->set(10, "Browser Helper (Renderer)", 101.0);
    processes->set(11, "Browser", 51.0);
    processes->set(12, "Editor", 12.0);
    HeatSnapshot second = sampleAt(5);
    EXPECT_EQ(second.live, (std::vector<HeatSource>{{"Browser", 0.5, 2.0, 10}, {"Editor", 0.5, 2.0, 12}}));
    EXPECT_EQ(second.daily.front(), (HeatSource{"Mail", 0.6, 6.0, 0}));
    // Written at once, then at most once a minute.
    EXPECT_EQ(read("heat-2026-03-09.json"), R"({"totals":{"Browser":2,"Editor":2,"Mail":6}})");
    processes->set(12, "Editor", 14.0);
    sampleAt(30);
    EXPECT_EQ(read("heat-2026-03-09.json"), R"({"totals":{"Browser":2,"Editor":2,"Mail":6}})");
    processes->remove(12); // ended: its day stays, with no pid
    const HeatSnapshot later = sampleAt(65);
    EXPECT_EQ(later.daily.at(1), (HeatSource{"Editor", 4.0 / 12.0, 4.0, 0}));
    EXPECT_EQ(read("heat-2026-03-09.json"), R"({"totals":{"Browser":2,"Editor":4,"Mail":6}})");
}

TEST_F(HeatSamplerTest, MidnightWritesTheOldDayAndStartsTheNewOneFromItsFile) {
    make(dir.path());
    editorAt(0.0, 0);
    editorAt(3.0, 1); // written
    editorAt(4.0, 2); // not yet written: under a minute since the last write
    write("heat-2026-03-10.json", R"({"totals":{"Mail":1}})");
    const HeatSnapshot next = editorAt(6.0, 2 * 3600 + 1); // 00:00:01 on 10 March
    EXPECT_EQ(read("heat-2026-03-09.json"), R"({"totals":{"Editor":4}})");
    EXPECT_EQ(next.daily,
              (std::vector<HeatSource>{{"Editor", 2.0 / 3.0, 2.0, 7}, {"Mail", 1.0 / 3.0, 1.0, 0}}));
    EXPECT_EQ(read("heat-2026-03-10.json"), R"({"totals":{"Editor":2,"Mail":1}})");
}

TEST_F(HeatSamplerTest, AnUnreadableDayStartsEmptyAndIsReplacedOnlyByItsOwnDay) {
    for (const char* text : {"", R"({"totals":{"A":1)", R"({"totals":[1]})", "\x00\xff"}) {
        write("heat-2026-03-09.json", text);
        write("heat-2026-03-08.json", R"({"totals":{"Kept":9}})");
        make(dir.path());
        EXPECT_TRUE(editorAt(0.0, 0).daily.empty()) << text;
        editorAt(1.0, 1);
        EXPECT_EQ(read("heat-2026-03-09.json"), R"({"totals":{"Editor":1}})") << text;
        EXPECT_EQ(read("heat-2026-03-08.json"), R"({"totals":{"Kept":9}})") << text;
        processes->remove(7);
    }
}

TEST_F(HeatSamplerTest, FilesOlderThanAWeekGoAtStartFromAFolderOfTheOwnersOwn) {
    for (const char* name : {"heat-2026-03-02.json", "heat-2026-03-03.json", "heat-notadate.json"}) {
        write(name, "{}");
    }
    make(dir.path());
    sampleAt(0);
    EXPECT_FALSE(QFile::exists(path("heat-2026-03-02.json")));
    EXPECT_TRUE(QFile::exists(path("heat-2026-03-03.json")) && QFile::exists(path("heat-notadate.json")));

    // A folder that is a link is neither written nor cleaned.
    QDir(dir.path()).mkdir(QStringLiteral("real"));
    write("real/heat-2020-01-01.json", "{}");
    std::filesystem::create_directory_symlink(path("real").toStdString(), path("link").toStdString());
    make(path("link"));
    editorAt(0.0, 0);
    EXPECT_EQ(editorAt(1.0, 1).live, (std::vector<HeatSource>{{"Editor", 1.0, 1.0, 7}}));
    EXPECT_TRUE(QFile::exists(path("real/heat-2020-01-01.json")));
    EXPECT_FALSE(QFile::exists(path("real/heat-2026-03-09.json")));

    // A folder not there yet is made, for the owner only.
    make(path("new/deeper"));
    sampleAt(2);
    editorAt(2.0, 3);
    EXPECT_TRUE(QFile::exists(path("new/deeper/heat-2026-03-09.json")));
    EXPECT_EQ(QFile::permissions(path("new/deeper")) & (QFile::ReadOther | QFile::ReadGroup),
              QFile::Permissions{});
}

TEST_F(EngineAnalyticsTest, SampledAtOnceThenEveryMinuteOrEveryFiveSecondsWhileThePanelIsOnScreen) {
    processes->set(7, "Editor", 0.0);
    engine->start();
    ASSERT_TRUE(pumpUntil([&] { return engine->passCount() >= 1; }));
    ASSERT_EQ(processes->reads.load(), 1);
    processes->set(7, "Editor", 3.0);
    // A pass may read the clock up to one sleep after its timer fired.
    const auto slow = [](int seconds) { return seconds >= 60 && seconds <= 61; };
    EXPECT_PRED1(slow, secondsUntilNextRead());
    ASSERT_TRUE(pumpUntil([&] { return !engine->heatSources()->empty(); }));
    EXPECT_EQ(engine->heatSources().value(), (std::vector<HeatSource>{{"Editor", 1.0, 3.0, 7}}));
    EXPECT_EQ(engine->dailyHeatSources().value(), engine->heatSources().value());

    // Only the main window and the panel together speed it up, from the next sample on.
    engine->setPowerPanelVisible(true);
    EXPECT_PRED1(slow, secondsUntilNextRead());
    engine->setMainWindowVisible(true);
    EXPECT_PRED1(slow, secondsUntilNextRead());
    const int fast = secondsUntilNextRead();
    EXPECT_TRUE(fast >= 5 && fast <= 6) << fast;
    EXPECT_TRUE(engine->heatSources()->empty()); // idle since
    EXPECT_EQ(engine->dailyHeatSources()->size(), 1U);
}

} // namespace
} // namespace halvoren
