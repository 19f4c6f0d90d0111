#include "core/device_sensor_map.h"
#include "core/device_sensor_map_detail.h"
#include "core/menu_bar_item_renderer.h"
#include "core/sensor_classifier.h"
#include "core/sensor_selection.h"

#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

using SensorClassifier::Classification;
using Kind = SMCDataType::Kind;
constexpr auto temperature = SensorClass::temperature;
constexpr auto other = SensorClass::other;
constexpr auto none = std::nullopt;

TEST(SensorClassifier, ClassGoesByLetterTypeAndForTemperaturesAPlausibleSample) {
    using enum SensorClass;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    // Fans go by the key alone, whatever the type or the sample.
    const struct {
        const char* key;
        Kind type;
        std::optional<double> sample;
        SensorClass expected;
    } rows[] = {
        {"TC0P", Kind::sp78, 45.0, temperature}, {"TC0P", Kind::sp78, 131.0, other},
        {"TC0P", Kind::sp78, -41.0, other},      {"TC0P", Kind::sp78, none, other},
        {"TC0P", Kind::ui8, 45.0, other},        {"TC0P", Kind::fpe2, 45.0, other},
        {"TC0P", Kind::sp78, nan, other},        {"TC0P", Kind::flt, 130.0, temperature},
        {"TC0P", Kind::flt, -40.0, temperature}, {"TZ0P", Kind::flt, 40.0, temperature},
        {"PSTR", Kind::flt, 12.0, power},        {"PSTR", Kind::sp78, 12.0, other},
        {"VD0R", Kind::flt, 12.1, voltage},      {"VD0R", Kind::fpe2, 12.1, other},
        {"ID0R", Kind::flt, 3.0, current},       {"ID0R", Kind::ui8, 3.0, other},
        {"F0Ac", Kind::ui8, 0.0, fan},           {"F1Ac", Kind::fpe2, none, fan},
        {"FNum", Kind::ui8, 2.0, other},         {"F0AC", Kind::flt, 2000.0, other},
        {"pSTR", Kind::flt, 1.0, other},         {"", Kind::flt, 40.0, other},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SensorClassifier::classify(row.key, row.type, row.sample),
                  (Classification{row.expected, SensorClassifier::humanName(row.key)}))
            << row.key;
    }
}

TEST(SensorClassifier, HumanNamesTryTheThreeLetterPrefixFirstAndCountCharacters) {
    // A prefix must be shorter than the key.
    const std::pair<const char*, const char*> names[] = {{"Tp09", "P-Core 9"},
                                                         {"TC0P", "CPU P"},
                                                         {"Tg0f", "GPU f"},
                                                         {"Tf04", "SoC Fabric 4"},
                                                         {"TB1T", "Battery 1T"},
                                                         {"Ts00", "Enclosure"},
                                                         {"Tne0", "Neural Engine"},
                                                         {"TneX1", "Neural Engine X1"},
                                                         {"TZ0P", "TZ0P"},
                                                         {"Tne", "Tne"},
                                                         {"Tp", "Tp"},
                                                         {"Tp0", "P-Core"},
                                                         {"Tp\u00e9", "P-Core \u00e9"},
                                                         {"Te0\u20ac", "E-Core \u20ac"},
                                                         {"T\u20ac", "T\u20ac"}};
    for (const auto& [key, name] : names) {
        EXPECT_EQ(SensorClassifier::humanName(key), name) << key;
    }
}

TEST(SensorClassifier, CategoryByTheFirstTwoCharactersOfATemperature) {
    using C = SensorCategory;
    const struct {
        const char* key;
        SensorClass sensorClass;
        SensorCategory expected;
    } rows[] = {
        {"Tp01", temperature, C::cpu},          {"Te05", temperature, C::cpu},
        {"TC0P", temperature, C::cpu},          {"Tg0f", temperature, C::gpu},
        {"TG0D", temperature, C::gpu},          {"TM0P", temperature, C::memory},
        {"Tb0T", temperature, C::battery},      {"Tn0P", temperature, C::neuralEngine},
        {"Tf04", temperature, C::neuralEngine}, {"Ta0P", temperature, C::enclosure},
        {"tp01", temperature, C::enclosure},    {"T", temperature, C::enclosure},
        {"Tp01", other, C::enclosure},          {"TG0D", SensorClass::power, C::enclosure},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SensorClassifier::category(row.key, row.sensorClass), row.expected) << row.key;
    }
}

using SensorSelection::ReadingHistory;
using SensorSelection::trustedMaxTemperature;
using Readings = std::vector<std::pair<std::string, double>>;

// A temperature sensor named and grouped the way discovery does it.
SMCSensor temp(const std::string& key, double value) {
    return SMCSensor{key,
                     key,
                     SensorClassifier::humanName(key),
                     SensorClassifier::category(key, temperature),
                     value,
                     temperature,
                     "°C"};
}

std::vector<SMCSensor> sensorsOf(const Readings& readings, std::vector<SMCSensor> sensors = {}) {
    for (const auto& [key, value] : readings) {
        sensors.push_back(temp(key, value));
    }
    return sensors;
}

TEST(SensorSelection, TheHottestSourceFollowsRealComponents) {
    // The idle M2 Max: a fabric family 19-42 °C above every die reading, parked P-cores.
    const Readings idleM2Max{{"TCMz", 38.3}, {"Te06", 38.2}, {"Tg0X", 36.8}, {"Tf04", 33.4},
                             {"Tf06", 80.3}, {"Tf26", 76.0}, {"Tf46", 57.2}, {"Tf21", 12.8},
                             {"TB0T", 25.9}, {"Tp01", 6.7},  {"Tp00", 0.0}};
    const struct {
        const char* what;
        Readings readings;
        std::optional<double> expected;
    } cases[] = {
        {"idle fabric offset", idleM2Max, 38.3},
        // Under load the same family comes within a few degrees of the dies and may lead.
        {"fabric near loaded dies", {{"TCMz", 92.0}, {"Tg0X", 80.0}, {"Tf06", 95.0}}, 95.0},
        // A family is judged by its middle reading: one member just inside does not lead for it.
        {"family mostly far above",
         {{"TCMz", 63.0}, {"Tf06", 94.0}, {"Tf16", 89.0}, {"Tf26", 90.0}, {"Tf36", 75.0}, {"Tf46", 71.0}},
         63.0},
        {"one member of a close family far above",
         {{"TCMz", 90.0}, {"Tf06", 93.0}, {"Tf16", 94.0}, {"Tf26", 92.0}, {"Tf46", 120.0}},
         94.0},
        {"on-die margin is inclusive", {{"TCMz", 40.0}, {"Tf06", 50.0}}, 50.0},
        {"just beyond the on-die margin", {{"TCMz", 40.0}, {"Tf06", 50.5}}, 40.0},
        // Off-die parts heat on their own and get the wider margin.
        {"hot battery beside idle dies", {{"Tp01", 35.0}, {"TB0T", 50.0}, {"TB1T", 49.0}}, 50.0},
        {"off-die reading far beyond anything", {{"TC0P", 35.0}, {"TB0T", 56.0}}, 35.0},
        // A loaded GPU is itself a reference and lifts the bound of its neighbours.
        {"gpu under load", {{"Tp01", 50.0}, {"Tg05", 90.0}, {"Tf06", 97.0}}, 97.0},
        {"intel cores far apart", {{"TC0P", 55.0}, {"TC3C", 82.0}, {"TM0P", 58.0}, {"TB0T", 31.0}}, 82.0},
        // Without a live die reading nothing is compared: the old rule.
        {"no die reference", {{"TB0T", 30.0}, {"Ts0P", 28.0}, {"Tf06", 80.0}}, 80.0},
        {"parked cores are no reference", {{"Tp01", 8.0}, {"TB0T", 30.0}, {"Tf06", 70.0}}, 70.0},
        // Nothing live: the largest named reading still answers.
        {"all parked", {{"Tp01", 6.7}, {"Tp02", 8.4}, {"Te04", 0.0}, {"Tf02", -7.0}}, 8.4},
        {"unnamed keys never count", {{"TZ0P", 99.0}, {"TVM4", 60.0}, {"TB0T", 30.0}}, 30.0},
        {"nothing named", {{"TZ0P", 99.0}}, std::nullopt}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::vector<SMCSensor> sensors = sensorsOf(c.readings);
        EXPECT_EQ(trustedMaxTemperature(sensors), c.expected);
        EXPECT_EQ(DeviceSensorMap::aggregate(ControlSource::hottest, sensors, {}), c.expected);
        if (c.expected) { // the menu bar names the sensor the control source follows
            EXPECT_EQ(MenuBarItemRenderer::hottestSensor(sensors)->currentTemp, *c.expected);
        }
    }
}

TEST(SensorSelection, OnlyTemperaturesCountAndTheMenuBarFallsBackToUnnamedSensors) {
    std::vector<SMCSensor> sensors = sensorsOf({{"TC0P", 40.0}, {"TB0T", 45.0}});
    sensors[1].sensorClass = SensorClass::other;
    EXPECT_EQ(trustedMaxTemperature(sensors), 40.0);
    EXPECT_EQ(MenuBarItemRenderer::hottestSensor(sensorsOf({{"TZ0P", 41.0}, {"TZ1P", 44.0}}))->key, "TZ1P");
    EXPECT_EQ(MenuBarItemRenderer::hottestSensor({}), std::nullopt);
    EXPECT_EQ(MenuBarItemRenderer::hottestSensor(sensorsOf({{"TB0T", 40.0}, {"TB1T", 40.0}}))->key, "TB0T");
}

// Sweeps once a second for `seconds`: the die sensors at 35 °C and more move by a small step
// each sweep, `fixed` holds its value.
ReadingHistory sweepFor(int seconds, std::vector<SMCSensor>& sensors, std::size_t fixed) {
    ReadingHistory history;
    for (int t = 0; t <= seconds; ++t) {
        for (std::size_t i = 0; i < sensors.size(); ++i) {
            if (i != fixed && sensors[i].currentTemp >= 35.0) {
                sensors[i].currentTemp += (t % 2 == 0 ? 0.1 : -0.1);
            }
        }
        history.record(sensors, t);
    }
    return history;
}

TEST(SensorSelection, ADieReadingThatHoldsStillWhileOthersMoveIsParked) {
    // A powered-down core holding exactly 40.0 while the live cores read about 36.
    std::vector<SMCSensor> sensors =
        sensorsOf({{"Tp01", 40.0}, {"Tp05", 36.0}, {"Te04", 35.0}, {"TB0T", 30.0}});
    const ReadingHistory young = sweepFor(29, sensors, 0);
    EXPECT_EQ(trustedMaxTemperature(sensors, young), 40.0);
    const ReadingHistory parked = sweepFor(30, sensors, 0);
    EXPECT_NEAR(*trustedMaxTemperature(sensors, parked), 36.0, 0.2);
    EXPECT_EQ(MenuBarItemRenderer::hottestSensor(sensors, parked)->key, "Tp05");
    // It no longer lifts the bound of the fabric either.
    std::vector<SMCSensor> withFabric =
        sensorsOf({{"Tp01", 40.0}, {"Tp05", 36.0}, {"Tf06", 49.0}, {"TB0T", 30.0}});
    EXPECT_NEAR(*trustedMaxTemperature(withFabric, sweepFor(29, withFabric, 0)), 49.0, 0.2);
    EXPECT_NEAR(*trustedMaxTemperature(withFabric, sweepFor(30, withFabric, 0)), 36.0, 0.2);

    // The moment it moves again it counts.
    ReadingHistory history = parked;
    sensors[0].currentTemp = 40.5;
    history.record(sensors, 31);
    EXPECT_EQ(trustedMaxTemperature(sensors, history), 40.5);
}

TEST(SensorSelection, HoldingStillIsParkingOnlyForDieReadingsOnAMovingMachine) {
    // A static controller: nothing moves, so nothing is parked.
    std::vector<SMCSensor> frozen = sensorsOf({{"Tp01", 40.0}, {"Tp05", 36.0}});
    ReadingHistory history;
    for (int t = 0; t <= 120; t += 10) {
        history.record(frozen, t);
    }
    EXPECT_EQ(trustedMaxTemperature(frozen, history), 40.0);

    // A battery may sit at one value for minutes and still be real.
    std::vector<SMCSensor> battery = sensorsOf({{"Tp05", 36.0}, {"TB0T", 45.0}});
    EXPECT_EQ(trustedMaxTemperature(battery, sweepFor(120, battery, 1)), 45.0);

    // A history of another sensor list knows nothing about this one.
    std::vector<SMCSensor> other = sensorsOf({{"Tp01", 40.0}, {"Tp05", 36.0}, {"Te04", 35.0}});
    const ReadingHistory parked = sweepFor(60, other, 0);
    const std::vector<SMCSensor> reordered{other[1], other[0], other[2]};
    EXPECT_EQ(trustedMaxTemperature(reordered, parked), 40.0);
    EXPECT_EQ(parked.stillFor(0, other[0]), 60.0);
    EXPECT_EQ(parked.stillFor(0, reordered[0]), 0.0);
    EXPECT_EQ(parked.stillFor(7, other[0]), 0.0);

    // A sweep of other keys starts afresh.
    ReadingHistory shorter = parked;
    other.pop_back();
    shorter.record(other, 61);
    shorter.record(other, 70);
    EXPECT_EQ(shorter.stillFor(0, other[0]), 9.0);
}

using namespace DeviceSensorMap;
using Optionals = std::vector<std::optional<double>>;
using Sensors = std::vector<SMCSensor>;

SMCSensor nonTemp(const std::string& key, double value, SensorClass sensorClass) {
    return SMCSensor{key, key, key, SensorCategory::enclosure, value, sensorClass, ""};
}

std::vector<std::vector<double>> runsOf(const std::string& prefix, std::optional<std::string_view> excluding,
                                        const std::vector<SMCSensor>& sensors) {
    const detail::Runs runs = detail::familyRuns(prefix, excluding, sensors);
    std::vector<std::vector<double>> out;
    for (std::size_t i = 0; i < runs.size(); ++i) {
        out.emplace_back(runs[i].begin(), runs[i].end());
    }
    return out;
}

// The rows as (id, value) pairs.
using IdValues = std::vector<std::pair<std::string, std::optional<double>>>;
IdValues idValues(const std::vector<DeviceSensorReading>& rows) {
    IdValues out;
    for (const auto& row : rows) {
        out.emplace_back(row.id, row.value);
    }
    return out;
}

// Suffixes count in the alphabet 0-9, A-Z, a-z: runs show their neighbours, lengths and foreign characters.
TEST(DeviceSensorMap, FamilyRunsSplitAtAnySkippedSuffix) {
    EXPECT_EQ(runsOf("Tp", none, Sensors{temp("Tp01", 1), temp("Tp02", 2), temp("Tp04", 4)}),
              (std::vector<std::vector<double>>{{1, 2}, {4}}));
    // '9'/'A' and 'z'/"10" are neighbours in the alphabet.
    EXPECT_EQ(runsOf("Tp", none, Sensors{temp("Tp09", 1), temp("Tp0A", 2)}).size(), 1U);
    EXPECT_EQ(runsOf("Tp", none, Sensors{temp("Tp0z", 1), temp("Tp10", 2)}).size(), 1U);
    // Sorted by suffix, stably for duplicates; wrong-length, foreign and other-family keys are dropped.
    EXPECT_EQ(runsOf("Tp", none,
                     {temp("Tp05", 5), temp("Tp_1", 99), temp("Tp01", 1), temp("Tp06", 6), temp("Tp05", 50),
                      temp("Tp012", 99), temp("Tp0", 99), temp("TP02", 99), temp("Tp0\u00e9", 99)}),
              (std::vector<std::vector<double>>{{1}, {5, 50, 6}}));
    // The suffix starts after two letters even when the prefix is longer.
    EXPECT_EQ(runsOf("Tex", none, Sensors{temp("Tex0", 1), temp("Tex1", 2)}),
              (std::vector<std::vector<double>>{{1, 2}}));
    EXPECT_EQ(runsOf("Te", "Tex", Sensors{temp("Te05", 1), temp("Tex6", 9), temp("Te07", 3)}),
              (std::vector<std::vector<double>>{{1}, {3}}));
    EXPECT_TRUE(runsOf("Tp", none, {}).empty());
}

TEST(DeviceSensorMap, CoreListsFollowTheCoreCounts) {
    std::vector<SMCSensor> sixRuns;
    for (const char* key : {"Tp00", "Tp02", "Tp04", "Tp06", "Tp08", "Tp0A"}) {
        sixRuns.push_back(temp(key, 50 + static_cast<double>(sixRuns.size())));
    }
    sixRuns[1].currentTemp = 12.0;
    EXPECT_EQ(detail::performanceCores(sixRuns, 4), (Optionals{50, none, 52, 53}));
    EXPECT_EQ(detail::performanceCores(Sensors{temp("Tp00", 40), temp("Tp02", 41)}, 4), (Optionals{40, 41}));
    EXPECT_TRUE(detail::performanceCores(sixRuns, 0).empty());

    // Exactly one "Tex" key per core: used one by one in key order; the family is ignored.
    const std::vector<SMCSensor> direct{temp("Tex1", 41), temp("Te05", 90), temp("Tex0", 40),
                                        temp("Tex2", 11)};
    EXPECT_EQ(detail::efficiencyCores(direct, 3), (Optionals{40, 41, none}));
    // One "Tex" key too many: the "Te" family without any "Tex" key.
    std::vector<SMCSensor> family = direct;
    family.push_back(temp("Tex3", 80));
    family.push_back(temp("Te09", 45));
    family.push_back(temp("Te08", 44));
    EXPECT_EQ(detail::efficiencyCores(family, 3), (Optionals{90, 45}));
    EXPECT_TRUE(detail::efficiencyCores(family, 0).empty());
    // Four characters, not four bytes, make a "Tex" key.
    EXPECT_EQ(detail::efficiencyCores(Sensors{temp("Tex\u00e9", 42), temp("Tex0", 40)}, 2),
              (Optionals{40, 42}));
}

TEST(DeviceSensorMap, GpuClustersSliceExtraRunsAndNeverPad) {
    std::vector<SMCSensor> nine;
    nine.reserve(9);
    for (std::size_t i = 0; i < 9; ++i) {
        nine.push_back(
            temp("Tg0" + std::string(1, detail::suffixAlphabet[2 * i]), 20.0 + static_cast<double>(i)));
    }
    // step 1.8: slices 0..<1, 1..<3, 3..<5, 5..<7, 7..<9.
    EXPECT_EQ(detail::gpuClusters(nine, 5), (Optionals{20, 21.5, 23.5, 25.5, 27.5}));
    nine[1].currentTemp = 3;
    nine[7].currentTemp = 4;
    nine[8].currentTemp = 5;
    EXPECT_EQ(detail::gpuClusters(nine, 5), (Optionals{20, 22, 23.5, 25.5, none}));

    // "Tg" runs come before "TG" runs whatever the sensor order.
    EXPECT_EQ(detail::gpuClusters(Sensors{temp("TG00", 70), temp("Tg00", 50), temp("Tg02", 51)}, 5),
              (Optionals{50, 51, 70}));
    EXPECT_TRUE(detail::gpuClusters(Sensors{temp("TC0P", 50)}, 5).empty());
}

TEST(DeviceSensorMap, GenericAggregatesTakeLiveTemperaturesOfACategory) {
    const std::vector<SMCSensor> sensors{temp("TC0P", 50), temp("TC1P", 60), temp("TC2P", 12),
                                         temp("Tg_x", 40), nonTemp("Tm0P", 70, SensorClass::other)};
    EXPECT_EQ(detail::genericAggregate(SensorCategory::cpu, sensors), 55);
    EXPECT_EQ(detail::genericAggregate(SensorCategory::gpu, sensors), 40);
    EXPECT_EQ(detail::genericAggregate(SensorCategory::battery, sensors), none);
    EXPECT_TRUE(detail::hasCategorySensors(SensorCategory::cpu, sensors));
    std::vector<SMCSensor> dead{temp("Tm0P", 5)};
    EXPECT_TRUE(detail::hasCategorySensors(SensorCategory::memory, dead));
    dead[0].sensorClass = SensorClass::other;
    EXPECT_FALSE(detail::hasCategorySensors(SensorCategory::memory, dead));
}

// A laptop with 8 performance and 4 efficiency cores, as its controller lists it: the E-cores are Te06, Te0L,
// Te0Q (asleep) and Te0S; the P-cores start at Tp02 (Tp0E asleep); Tp10 is a ninth run beyond the core count.
std::vector<SMCSensor> appleSiliconLaptop() {
    return sensorsOf(
        {{"TB0T", 31.5}, {"TB1T", 30.9}, {"TB2T", 30.7}, {"TDeL", 35.0}, {"TDeR", 11.0}, {"TH0x", 39.0},
         {"TPD0", 40.0}, {"TPD1", 8.0},  {"TPDX", 42.0}, {"TPSP", 33.0}, {"TW0P", 38.0}, {"TZ0P", 99.0},
         {"Ta0P", 29.0}, {"Te05", 45.0}, {"Te06", 47.0}, {"Te0L", 44.0}, {"Te0P", 10.0}, {"Te0Q", 12.0},
         {"Te0S", 46.0}, {"Tf04", 41.0}, {"Tg05", 50.0}, {"Tg06", 52.0}, {"Tg0D", 48.0}, {"Tg0L", 54.0},
         {"Tg0T", 5.0},  {"Tg0X", 56.0}, {"Tg0b", 58.0}, {"Tg0f", 60.0}, {"Tm0P", 43.0}, {"Tp01", 61.0},
         {"Tp02", 63.5}, {"Tp05", 58.0}, {"Tp06", 57.0}, {"Tp09", 60.0}, {"Tp0A", 11.0}, {"Tp0D", 12.0},
         {"Tp0E", 0.0},  {"Tp0X", 66.0}, {"Tp0b", 64.0}, {"Tp0c", 65.0}, {"Tp0f", 59.0}, {"Tp0j", 62.0},
         {"Tp0z", 90.0}, {"Tp10", 91.0}},
        {nonTemp("F0Ac", 1820, SensorClass::fan), nonTemp("ID0R", 2.1, SensorClass::current),
         nonTemp("PSTR", 14.5, SensorClass::power), nonTemp("VD0R", 12.3, SensorClass::voltage)});
}

TEST(DeviceSensorMap, FixedListAndAggregatesOfAnAppleSiliconLaptop) {
    const CoreCounts counts{8, 4};
    const auto sensors = appleSiliconLaptop();
    const auto rows = fixedList(sensors, counts);
    // Seven GPU runs in five slices of step 1.4: 0..<1, 1..<2, 2..<4, 4..<5, 5..<7.
    const double cpuAverage = (433.5 + 137.0) / 10;
    const double gpuAverage = 269.0 / 5;
    EXPECT_EQ(idValues(rows),
              (IdValues{
                  {"TW0P", 38.0},   {"TB0T", 31.5},          {"TB1T", 30.9},    {"cpu.avg", cpuAverage},
                  {"eff.0", 47.0},  {"eff.1", 44.0},         {"eff.2", none},   {"eff.3", 46.0},
                  {"perf.0", 63.5}, {"perf.1", 58.0},        {"perf.2", 60.0},  {"perf.3", none},
                  {"perf.4", 66.0}, {"perf.5", 65.0},        {"perf.6", 59.0},  {"perf.7", 62.0},
                  {"gpu.0", 52.0},  {"gpu.1", 48.0},         {"gpu.2", 54.0},   {"gpu.3", 56.0},
                  {"gpu.4", 59.0},  {"gpu.avg", gpuAverage}, {"pwr.die", 41.0}, {"TPSP", 33.0},
                  {"TDeL", 35.0},   {"TDeR", none},          {"TH0x", 39.0},
              }));
    // Numbered rows count their names from 1.
    EXPECT_EQ(rows[4], (DeviceSensorReading{"eff.0", "CPU Efficiency Core 1", "cpu", 47.0}));
    EXPECT_EQ(rows[15], (DeviceSensorReading{"perf.7", "CPU Performance Core 8", "cpu", 62.0}));
    EXPECT_EQ(aggregate(ControlSource::hottest, sensors, counts), 91.0); // the unnamed TZ0P is ignored
    EXPECT_DOUBLE_EQ(*aggregate(ControlSource::cpuAverage, sensors, counts), 57.05);
    EXPECT_EQ(aggregate(ControlSource::cpuPerformance, sensors, counts), 66.0);
    EXPECT_EQ(aggregate(ControlSource::cpuEfficiency, sensors, counts), 47.0);
    EXPECT_DOUBLE_EQ(*aggregate(ControlSource::gpuAverage, sensors, counts), 53.8);
    EXPECT_EQ(aggregate(ControlSource::cpuPerformance, sensors, {0, 4}), none);
    EXPECT_EQ(aggregate(ControlSource::gpuAverage, Sensors{temp("Tg05", 5)}, counts), none);
    for (const ControlSource source : allCases<ControlSource>()) {
        EXPECT_EQ(aggregate(source, {}, counts), none);
    }
}

TEST(DeviceSensorMap, WithoutCoreCountsTheGenericRowsStandIn) {
    const std::vector<SMCSensor> sensors{temp("TC0P", 50), temp("TC1P", 60), temp("Tp01", 70),
                                         temp("Tg05", 40), temp("TG_1", 44), temp("TPDab", 30)};
    const CoreCounts noCounts{0, 0};
    // "TPD" is a bare prefix, without a length test.
    EXPECT_EQ(idValues(fixedList(sensors, noCounts)), (IdValues{{"cpu.generic", 60.0},
                                                                {"gpu.generic", 42.0},
                                                                {"gpu.0", 40.0},
                                                                {"gpu.avg", 40.0},
                                                                {"pwr.die", 30.0}}));
    EXPECT_EQ(aggregate(ControlSource::cpuAverage, sensors, noCounts), 60.0);
    EXPECT_EQ(aggregate(ControlSource::cpuPerformance, sensors, noCounts), none);
    EXPECT_EQ(aggregate(ControlSource::cpuEfficiency, sensors, noCounts), none);
    // No "Tg"/"TG" family at all: the GPU average falls back to the category.
    EXPECT_EQ(aggregate(ControlSource::gpuAverage, Sensors{temp("TG_1", 44), temp("Tg0_", 46)}, noCounts),
              45.0);
}

TEST(DeviceSensorMap, SingleKeyRowsStayWhileDeadAndUseTheFirstSensor) {
    const auto rows =
        fixedList(Sensors{temp("TW0P", 10), temp("TB0T", 30), temp("TB0T", 35), temp("TPD0", 9)}, {});
    EXPECT_EQ(rows, (std::vector<DeviceSensorReading>{
                        {"TW0P", "Airport Proximity", "wifi", none},
                        {"TB0T", "Battery", "battery.100percent", 30.0},
                        {"pwr.die", "Power Manager Die Average", "bolt.fill", none},
                    }));
    EXPECT_TRUE(
        fixedList(Sensors{temp("TZ0P", 50), nonTemp("F0Ac", 1200, SensorClass::fan)}, {8, 4}).empty());
}

} // namespace
} // namespace halvoren
