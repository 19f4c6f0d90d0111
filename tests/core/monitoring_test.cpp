#include "core/alert_evaluation.h"
#include "core/fan_health_monitor.h"
#include "core/heat_attribution.h"
#include "core/power_telemetry.h"
#include "core/ring_buffer.h"
#include "core/telemetry_csv.h"
#include "core/telemetry_store.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace halvoren {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(PowerTelemetry, FanWattsFollowTheCubeLawUpToFullSpeedAndNeverGoNegative) {
    const struct {
        double rpm, maxRPM, watts;
    } rows[] = {
        {3000, 3000, 2.5}, {6000, 3000, 2.5}, {2000, 4000, 0.3125}, {1000, 4000, 2.5 / 64}, {inf, 3000, 2.5},
        {2000, 0, 0.0},    {-500, 3000, 0.0}, {nan, 3000, 0.0},     {2000, nan, 0.0},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(PowerTelemetry::fanWatts(row.rpm, row.maxRPM), row.watts)
            << row.rpm << "/" << row.maxRPM;
    }
    EXPECT_EQ(PowerTelemetry::totalFanWatts({}), 0.0);
    const std::vector<FanSpeed> mixed{{9000, 6000}, {0, 6000}, {nan, 6000}, {1500, 6000}, {3000, 6000}};
    EXPECT_DOUBLE_EQ(PowerTelemetry::totalFanWatts(mixed), 2.5 + 2.5 / 64 + 0.3125);
}

TEST(PowerTelemetry, BatteryImpactIsTheRuntimeLostToTheExtraDraw) {
    const struct {
        double batteryWh, baselineW, extraW, minutes;
    } rows[] = {
        // 6 h at 10 W, 4 h at 15 W; a small battery still counts.
        {60, 10, 5, 120.0}, {50, 8, 2, 75.0}, {0.5, 1, 1, 15.0}, {60, 10, inf, 360.0}, {60, 10, 0, 0.0},
        {60, 10, -3, 0.0},  {60, 0, 5, 0.0},  {0, 10, 5, 0.0},   {nan, 10, 5, 0.0},    {60, nan, 5, 0.0},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(
            PowerTelemetry::estimatedBatteryImpactMinutes(row.batteryWh, row.baselineW, row.extraW),
            row.minutes)
            << row.batteryWh << " Wh, " << row.baselineW << " W + " << row.extraW << " W";
    }
    // A NaN extra draw is not below 0 and so flows through the formula.
    EXPECT_TRUE(std::isnan(PowerTelemetry::estimatedBatteryImpactMinutes(60, 10, nan)));
}

using std::chrono::milliseconds;
using std::chrono::seconds;

WallTime at(seconds::rep epoch, milliseconds::rep extra = 0) {
    return WallTime{seconds{epoch} + milliseconds{extra}};
}

TEST(RingBuffer, KeepsTheNewestOldestFirstAcrossWrapsAndCountsEveryAppend) {
    const struct {
        std::size_t capacity;
        int appended;
        std::vector<double> kept;
    } rows[] = {
        {3, 0, {}},          {3, 2, {1, 2}}, {3, 3, {1, 2, 3}}, {3, 4, {2, 3, 4}},
        {3, 10, {8, 9, 10}}, {1, 5, {5}},    {0, 4, {}},
    };
    for (const auto& row : rows) {
        RingBuffer ring(row.capacity);
        for (int v = 1; v <= row.appended; ++v) {
            ring.append(v);
        }
        EXPECT_EQ(ring.samples(), row.kept) << row.capacity << " after " << row.appended;
        EXPECT_EQ(ring.totalAppended(), row.appended);
    }
}

TEST(TelemetryStore, TheSixtyFirstSampleDropsTheOldestOfAllFiveSeriesTogether) {
    TelemetryStore store;
    EXPECT_TRUE(store.history().empty());
    for (int i = 0; i <= 60; ++i) {
        store.record(40.0 + i, 1000.0 + i, 10.0 + i, 0.5, at(1'000 + i));
    }
    const auto history = store.history();
    ASSERT_EQ(history.size(), 60u);
    EXPECT_EQ(history.front(), (HistorySample{at(1'001), 41, 1001, 11, 0.5}));
    EXPECT_EQ(history.back(), (HistorySample{at(1'060), 100, 1060, 70, 0.5}));
    EXPECT_EQ(store.maxTemp().totalAppended(), 61);
}

TEST(TelemetryCSV, HeaderThenOneFormattedLinePerSample) {
    EXPECT_EQ(telemetryCSV({}), "timestamp,maxTempC,fanRPM,systemWatts,fanWatts\n");
    const std::vector<HistorySample> samples{
        {at(1'773'065'133), 61.25, 2150, 18.4, 1.32},
        // Seconds are cut, not rounded; "%.0f" takes an exact half to even.
        {at(1'773'065'133, 999), 61.255, 2150.5, -0.001, 2.5 / 64},
        {at(-1, 500), nan, 0, 0, 0}, // before 1970 the second below is the earlier one
    };
    EXPECT_EQ(telemetryCSV(samples), "timestamp,maxTempC,fanRPM,systemWatts,fanWatts\n"
                                     "2026-03-09T14:05:33Z,61.25,2150,18.40,1.32\n"
                                     "2026-03-09T14:05:33Z,61.26,2150,-0.00,0.04\n"
                                     "1969-12-31T23:59:59Z,nan,0,0.00,0.00\n");
    // The export name holds the epoch seconds truncated toward zero.
    EXPECT_EQ(historyExportFileName(at(1'773'065'133, 900)), "Halvoren-History-1773065133.csv");
    EXPECT_EQ(historyExportFileName(at(0)), "Halvoren-History-0.csv");
    EXPECT_EQ(historyExportFileName(at(-1, -500)), "Halvoren-History--1.csv");
}

using namespace std::chrono;

// A process's cumulative user and system time, in seconds.
ProcessCPUTime at(std::int32_t pid, double user, double system = 0) {
    return {pid, {static_cast<std::uint64_t>(user * 1e9), static_cast<std::uint64_t>(system * 1e9)}};
}

TEST(HeatAttribution, HelperSuffixes) {
    // One suffix at most, and only after a space.
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"Browser Helper (Renderer)", "Browser"},
        {"Browser Helper (GPU)", "Browser"},
        {"Browser Helper (Plugin)", "Browser"},
        {"Mail Helper", "Mail"},
        {"Browser Web Content", "Browser"},
        {"Editor Helper Networking", "Editor Helper"},
        {" Helper (GPU)", ""},
        {"Helper", "Helper"},
        {"Editor", "Editor"},
    };
    for (const auto& [name, stripped] : cases) {
        EXPECT_EQ(stripHelperSuffix(name), stripped) << name;
    }
}

TEST(HeatAttribution, DeltasOverSuccessiveSamples) {
    const struct {
        const char* what;
        std::vector<ProcessCPUTime> before; // empty: no earlier sample
        std::vector<ProcessCPUTime> now;
        std::vector<std::pair<std::int32_t, double>> expected;
    } cases[] = {
        {"first sample only makes baselines", {}, {at(7, 5)}, {}},
        {"user and system both count", {at(7, 1, 1)}, {at(7, 2, 3)}, {{7, 3.0}}},
        {"an idle process is not listed", {at(7, 1)}, {at(7, 1)}, {}},
        {"a new pid is only a baseline", {at(7, 1)}, {at(7, 2), at(9, 50)}, {{7, 1.0}}},
        {"a reused pid with smaller counters gives nothing", {at(7, 9, 9)}, {at(7, 1, 1)}, {}},
        {"one counter back, the other on", {at(7, 9, 1)}, {at(7, 1, 3)}, {{7, 2.0}}},
        {"pids below 1 are ignored", {at(0, 0), at(-3, 0)}, {at(0, 1), at(-3, 1)}, {}},
        {"reading order is kept", {at(9, 0), at(3, 0)}, {at(9, 0.5), at(3, 1)}, {{9, 0.5}, {3, 1.0}}},
    };
    for (const auto& c : cases) {
        CPUTimeBaselines baselines;
        std::vector<ProcessCPUDelta> out;
        baselines.advance(c.before, out);
        EXPECT_TRUE(out.empty()) << c.what;
        baselines.advance(c.now, out);
        std::vector<std::pair<std::int32_t, double>> got;
        got.reserve(out.size());
        for (const auto& d : out) {
            got.emplace_back(d.pid, d.seconds);
        }
        EXPECT_EQ(got, c.expected) << c.what;
    }
    // A process that vanishes leaves the table.
    CPUTimeBaselines baselines;
    std::vector<ProcessCPUDelta> out;
    baselines.advance(std::vector{at(8, 1), at(7, 1)}, out); // not in pid order
    EXPECT_TRUE(baselines.contains(7) && baselines.contains(8));
    baselines.advance(std::vector{at(8, 2)}, out);
    EXPECT_FALSE(baselines.contains(7));
    // Back under the same pid: a baseline again, not a delta from the old process.
    baselines.advance(std::vector{at(7, 30), at(8, 2)}, out);
    EXPECT_TRUE(out.empty());
}

TEST(HeatAttribution, AggregateRanksSumsAndTruncates) {
    using Entries = std::vector<std::pair<std::string_view, double>>;
    EXPECT_TRUE(aggregateHeat(Entries{{"A", 0.0}, {"B", -1.0}}).empty());
    EXPECT_EQ(aggregateHeat(Entries{{"A", 1.0}, {"B", 3.0}, {"A", 0.5}}),
              (std::vector<HeatSource>{{"B", 3.0 / 4.5, 3.0, 0}, {"A", 1.5 / 4.5, 1.5, 0}}));

    // Nine names: the smallest is dropped but still counts toward the total.
    Entries nine;
    for (std::size_t i = 0; i < 9; ++i) {
        nine.emplace_back(std::string_view("abcdefghi").substr(i, 1), static_cast<double>(9 - i));
    }
    const auto rows = aggregateHeat(nine);
    ASSERT_EQ(rows.size(), heatListLength);
    EXPECT_EQ(rows.front().name, "a");
    EXPECT_EQ(rows.back().name, "h");
    EXPECT_DOUBLE_EQ(rows.front().cpuShare, 9.0 / 45.0);
}

TEST(HeatAttribution, TallyKeepsTheDayAndFirstPid) {
    HeatTotals totals{{"Mail", 10.0}};
    HeatSnapshot snapshot;
    const std::vector<HeatDelta> deltas{{"Browser", 1.0, 40}, {"Editor", 2.0, 12}, {"Browser", 3.0, 41}};
    EXPECT_TRUE(tallyHeat(deltas, totals, snapshot));
    EXPECT_EQ(totals, (HeatTotals{{"Browser", 4.0}, {"Editor", 2.0}, {"Mail", 10.0}}));
    EXPECT_EQ(snapshot.live,
              (std::vector<HeatSource>{{"Browser", 4.0 / 6.0, 4.0, 40}, {"Editor", 2.0 / 6.0, 2.0, 12}}));
    EXPECT_EQ(snapshot.daily, (std::vector<HeatSource>{{"Mail", 10.0 / 16.0, 10.0, 0},
                                                       {"Browser", 4.0 / 16.0, 4.0, 40},
                                                       {"Editor", 2.0 / 16.0, 2.0, 12}}));

    // All idle: the live list empties, the day stays, nothing new to write.
    EXPECT_FALSE(tallyHeat({}, totals, snapshot));
    EXPECT_TRUE(snapshot.live.empty());
    EXPECT_EQ(snapshot.daily.size(), 3U);
    EXPECT_EQ(snapshot.daily[1].pid, 0);
}

TEST(HeatAttribution, FileNamesAndStaleness) {
    const local_days march9{2026y / March / 9};
    EXPECT_EQ(heatFileName(march9), "heat-2026-03-09.json");
    EXPECT_EQ(heatFileDay("heat-2026-03-09.json"), march9);
    for (const char* name :
         {"heat-notadate.json", "heat-2020-01-01.txt", "heat-2026-02-30.json", "heat-2026-3-09.json",
          "heat-.json", "warm-2026-03-09.json", "heat-2026-03-09.json.tmp"}) {
        EXPECT_FALSE(heatFileDay(name)) << name;
    }
    // A file of exactly seven days before is stale once that day's midnight has passed.
    const struct {
        const char* name;
        int hour;
        bool stale;
    } cases[] = {
        {"heat-2026-03-02.json", 10, true},  {"heat-2026-03-02.json", 0, false},
        {"heat-2026-03-03.json", 23, false}, {"heat-2020-01-01.json", 0, true},
        {"heat-notadate.json", 0, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(isStaleHeatFile(c.name, local_seconds{march9} + hours{c.hour}), c.stale) << c.name;
    }
}

TEST(HeatAttribution, DailyFileText) {
    EXPECT_EQ(encodeHeatTotals({{"Editor", 412.7}, {"Browser", 38.03}}),
              R"({"totals":{"Browser":38.03,"Editor":412.7}})");
    EXPECT_EQ(encodeHeatTotals({}), R"({"totals":{}})");
    EXPECT_FALSE(encodeHeatTotals({{"Editor", std::numeric_limits<double>::infinity()}}));
    EXPECT_FALSE(encodeHeatTotals({{"\xff", 1.0}}));

    const HeatTotals totals{{"Editor", 412.7}, {"Browser", 38.03}, {"", 2.0}};
    EXPECT_EQ(decodeHeatTotals(encodeHeatTotals(totals).value()), totals);
    EXPECT_EQ(decodeHeatTotals(R"({"totals":{"A":1},"extra":true})"), (HeatTotals{{"A", 1.0}}));
    for (const char* bad : {"", "{", R"({"totals":{"A":1})", R"({"totals":[]})", R"({"total":{}})",
                            R"({"totals":{"A":"1"}})", "[]", "null"}) {
        EXPECT_FALSE(decodeHeatTotals(bad)) << bad;
    }
}

SMCSensor reading(SensorCategory category, const char* name, double temp) {
    return {.id = name,
            .key = name,
            .name = name,
            .category = category,
            .currentTemp = temp,
            .sensorClass = SensorClass::temperature,
            .unit = "C"};
}

// Sweeps over a cpu rule at 95 °C with auto-boost: the reading (0: no cpu sensor) and the
// outcome, '-' not evaluated, 'c' clear, 't' triggered, '+' rising, 'v' falling.
TEST(AlertEvaluation, OnlyEdgesBoostAndAMissingSensorChangesNothing) {
    const AlertRules rules{
        {SensorCategory::cpu, {.enabled = true, .thresholdCelsius = 95.0, .autoBoost = true}},
        {SensorCategory::gpu, {.enabled = false, .thresholdCelsius = 1.0, .autoBoost = true}}};
    const std::vector<std::pair<double, char>> sweeps{{94.9, 'c'}, {95.0, '+'}, {99.0, 't'}, {0.0, '-'},
                                                      {97.0, 't'}, {94.0, 'v'}, {90.0, 'c'}};
    RuleTriggerState state;
    for (const auto& [temp, expected] : sweeps) {
        std::vector<SMCSensor> sensors{reading(SensorCategory::gpu, "GPU", 100.0)};
        if (temp > 0.0) {
            sensors.push_back(reading(SensorCategory::cpu, "CPU", temp));
        }
        const auto outcomes = evaluateRules(rules, sensors, state);
        const BoostEdge edge = outcomes.empty() ? BoostEdge::none : boostEdge(outcomes[0]);
        const char seen = outcomes.empty()          ? '-'
                          : edge == BoostEdge::rise ? '+'
                          : edge == BoostEdge::fall ? 'v'
                          : outcomes[0].triggered   ? 't'
                                                    : 'c';
        EXPECT_EQ(seen, expected) << temp;
        EXPECT_FALSE(state.contains(SensorCategory::gpu)); // disabled: never evaluated
    }
}

TEST(AlertEvaluation, TheTextNamesTheFirstOfTheHottestSensors) {
    const AlertRules rules{
        {SensorCategory::neuralEngine, {.enabled = true, .thresholdCelsius = 80.0, .autoBoost = false}}};
    const std::vector<SMCSensor> sensors{reading(SensorCategory::neuralEngine, "ANE 1", 70.0),
                                         reading(SensorCategory::neuralEngine, "ANE 2", 81.4),
                                         reading(SensorCategory::neuralEngine, "ANE 3", 81.4)};
    RuleTriggerState state;
    const auto outcomes = evaluateRules(rules, sensors, state);
    ASSERT_EQ(outcomes.size(), 1U);
    EXPECT_EQ(outcomes[0].key, "group.neuralEngine");
    EXPECT_EQ(outcomes[0].title, "Halvoren: Neural Engine Hot");
    EXPECT_EQ(outcomes[0].message, "ANE 2 is running hot at 81\u00B0C");
    EXPECT_EQ(boostEdge(outcomes[0]), BoostEdge::none); // triggered, but no auto-boost
    // Alerts are allowed once a minute.
    EXPECT_TRUE(alertThrottleAllows(std::nullopt, 0.0));
    EXPECT_FALSE(alertThrottleAllows(100.0, 159.9));
    EXPECT_TRUE(alertThrottleAllows(100.0, 160.0));
}

using Monitor = FanHealthMonitor;
using Warning = Monitor::Warning;
constexpr std::nullopt_t none = std::nullopt;

// One sample of fan 1 and the event it must raise: '-' none, 'S' stalled, 'U' underperforming
// (at this sample's speeds), 'R' recovered.
struct Step {
    double now;
    std::optional<double> commanded;
    double actual;
    char event;
};

std::optional<Monitor::Event> expected(const Step& s) {
    using E = std::optional<Monitor::Event>;
    return s.event == 'S'   ? E{Monitor::Stalled{1}}
           : s.event == 'U' ? E{Monitor::Underperforming{1, s.actual, *s.commanded}}
           : s.event == 'R' ? E{Monitor::Recovered{1}}
                            : none;
}

TEST(FanHealthMonitor, RaisesEachEdgeOnceAfterItsWindowAndKeepsTheWarningUntilRecovery) {
    const struct {
        const char* what;
        std::vector<Step> steps;
    } scenarios[] = {
        {"below 500 is never judged", {{0, 400, 0, '-'}, {100, 400, 0, '-'}}},
        {"a NaN command is no command", {{0, nan, 0, '-'}, {30, nan, 0, '-'}}},
        {"exactly 500, exactly 20 s", {{0, 500, 0, '-'}, {20, 500, 0, 'S'}}},
        {"reaching 100 restarts the stall",
         {{0, 3000, 99, '-'},
          {19.9, 3000, 99, '-'},
          {20, 3000, 100, '-'},
          {21, 3000, 0, '-'},
          {40.9, 3000, 0, '-'},
          {41, 3000, 0, 'S'}}},
        {"a stalled fan that turns slowly stays stalled",
         {{0, 3000, 0, '-'}, {20, 3000, 0, 'S'}, {30, 3000, 2000, '-'}, {200, 3000, 2000, '-'}}},
        {"2100 of 3000 starts no timer, 2099 does",
         {{0, 3000, 2100, '-'}, {101, 3000, 2099, '-'}, {190.9, 3000, 2099, '-'}, {191, 3000, 2099, 'U'}}},
        {"a command moved by over a tenth restarts the timer",
         {{0, 3000, 1000, '-'}, {61, 3400, 1000, '-'}, {150, 3400, 1000, '-'}, {151, 3400, 1000, 'U'}}},
        {"a command moved by exactly a tenth keeps it", {{0, 3000, 1000, '-'}, {90, 3300, 1000, 'U'}}},
        {"a slow fan that stops keeps its slowness timer",
         {{0, 3000, 1000, '-'}, {80, 3000, 0, '-'}, {90, 3000, 1000, 'U'}}},
        {"reaching seven tenths clears the timer",
         {{0, 3000, 1000, '-'}, {80, 3000, 2100, '-'}, {90, 3000, 1000, '-'}, {179, 3000, 1000, '-'}}},
        {"recovery at nine tenths, then the timers start afresh",
         {{0, 3000, 1000, '-'},
          {90, 3000, 1000, 'U'},
          {91, 3000, 2699, '-'},
          {92, 3000, 2700, 'R'},
          {93, 3000, 1000, '-'},
          {182, 3000, 1000, '-'},
          {183, 3000, 1000, 'U'}}},
        {"the firmware takes over",
         {{0, 3000, 0, '-'}, {20, 3000, 0, 'S'}, {21, none, 0, 'R'}, {22, none, 0, '-'}}},
        {"the command drops below 500", {{0, 3000, 0, '-'}, {20, 3000, 0, 'S'}, {21, 450, 0, 'R'}}},
    };
    for (const auto& scenario : scenarios) {
        Monitor monitor;
        std::optional<Warning> warning;
        for (const auto& step : scenario.steps) {
            EXPECT_EQ(monitor.observe(1, step.commanded, step.actual, step.now), expected(step))
                << scenario.what << " at " << step.now;
            if (step.event != '-') {
                warning = step.event == 'R' ? none
                                            : std::optional(step.event == 'S' ? Warning::stalled
                                                                              : Warning::underperforming);
            }
            EXPECT_EQ(monitor.warning(1), warning) << scenario.what << " at " << step.now;
        }
    }
    // Each fan has its own timers.
    Monitor monitor;
    EXPECT_EQ(monitor.observe(0, 3000, 0, 0), none);
    EXPECT_EQ(monitor.observe(2, 3000, 0, 10), none);
    EXPECT_EQ(monitor.observe(0, 3000, 0, 20), Monitor::Event{Monitor::Stalled{0}});
    EXPECT_EQ(monitor.observe(2, 3000, 0, 20), none);
    EXPECT_EQ(monitor.warning(2), none);
}

TEST(FanHealthText, EachWarningHasItsTextsAndMessagesRoundTheSpeeds) {
    using namespace FanHealthText;
    EXPECT_EQ(alertKey(2), "fanhealth.2");
    EXPECT_EQ(stalledMessage("Left Fan", 2999.6), "Left Fan is commanded to 3000 RPM but isn't spinning.");
    EXPECT_EQ(underperformingMessage("Fan 3", 1499.4, 3000),
              "Fan 3 only reaches 1499 of 3000 RPM. Dust or an obstruction may be limiting it.");
}

} // namespace
} // namespace halvoren
