#include "core/device_sensor_map.h"
#include "core/device_sensor_map_detail.h"
#include "core/sensor_classifier.h"
#include "core/sensor_selection.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace halvoren {
namespace {

using namespace DeviceSensorMap;
using Optionals = std::vector<std::optional<double>>;
using Sensors = std::vector<SMCSensor>;
constexpr auto none = std::nullopt;

// A temperature sensor named and grouped the way discovery does it.
SMCSensor temp(const std::string& key, double value) {
    return SMCSensor{key,
                     key,
                     SensorClassifier::humanName(key),
                     SensorClassifier::category(key, SensorClass::temperature),
                     value,
                     SensorClass::temperature,
                     "°C"};
}

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

std::vector<std::string> idsOf(const std::vector<DeviceSensorReading>& rows) {
    std::vector<std::string> ids;
    ids.reserve(rows.size());
    for (const auto& row : rows) {
        ids.push_back(row.id);
    }
    return ids;
}

TEST(DeviceSensorMap, LiveMaxIsAboveTwelveDegrees) {
    EXPECT_EQ(detail::liveMax(std::vector<double>{5, 12.0}), none);
    EXPECT_EQ(detail::liveMax(std::vector<double>{5, 12.5}), 12.5);
    EXPECT_EQ(detail::liveMax(std::vector<double>{40, 70, 55}), 70);
    EXPECT_EQ(detail::liveMax({}), none);
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
    EXPECT_EQ(detail::efficiencyCores(family, 1), (Optionals{90}));
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
    std::vector<SMCSensor> sensors{
        nonTemp("F0Ac", 1820, SensorClass::fan), nonTemp("ID0R", 2.1, SensorClass::current),
        nonTemp("PSTR", 14.5, SensorClass::power), nonTemp("VD0R", 12.3, SensorClass::voltage)};
    const std::pair<const char*, double> temperatures[] = {
        {"TB0T", 31.5}, {"TB1T", 30.9}, {"TB2T", 30.7}, {"TDeL", 35.0}, {"TDeR", 11.0}, {"TH0x", 39.0},
        {"TPD0", 40.0}, {"TPD1", 8.0},  {"TPDX", 42.0}, {"TPSP", 33.0}, {"TW0P", 38.0}, {"TZ0P", 99.0},
        {"Ta0P", 29.0}, {"Te05", 45.0}, {"Te06", 47.0}, {"Te0L", 44.0}, {"Te0P", 10.0}, {"Te0Q", 12.0},
        {"Te0S", 46.0}, {"Tf04", 41.0}, {"Tg05", 50.0}, {"Tg06", 52.0}, {"Tg0D", 48.0}, {"Tg0L", 54.0},
        {"Tg0T", 5.0},  {"Tg0X", 56.0}, {"Tg0b", 58.0}, {"Tg0f", 60.0}, {"Tm0P", 43.0}, {"Tp01", 61.0},
        {"Tp02", 63.5}, {"Tp05", 58.0}, {"Tp06", 57.0}, {"Tp09", 60.0}, {"Tp0A", 11.0}, {"Tp0D", 12.0},
        {"Tp0E", 0.0},  {"Tp0X", 66.0}, {"Tp0b", 64.0}, {"Tp0c", 65.0}, {"Tp0f", 59.0}, {"Tp0j", 62.0},
        {"Tp0z", 90.0}, {"Tp10", 91.0}};
    for (const auto& [key, value] : temperatures) {
        sensors.push_back(temp(key, value));
    }
    return sensors;
}

TEST(DeviceSensorMap, FixedListOfAnAppleSiliconLaptop) {
    const CoreCounts counts{8, 4};
    const auto rows = fixedList(appleSiliconLaptop(), counts);
    const std::vector<DeviceSensorReading> expected{
        {"TW0P", "Airport Proximity", "wifi", 38.0},
        {"TB0T", "Battery", "battery.100percent", 31.5},
        {"TB1T", "Battery Gas Gauge", "battery.100percent", 30.9},
        {"cpu.avg", "CPU Core Average", "cpu.fill", (433.5 + 137.0) / 10},
        {"eff.0", "CPU Efficiency Core 1", "cpu", 47.0},
        {"eff.1", "CPU Efficiency Core 2", "cpu", 44.0},
        {"eff.2", "CPU Efficiency Core 3", "cpu", none},
        {"eff.3", "CPU Efficiency Core 4", "cpu", 46.0},
        {"perf.0", "CPU Performance Core 1", "cpu", 63.5},
        {"perf.1", "CPU Performance Core 2", "cpu", 58.0},
        {"perf.2", "CPU Performance Core 3", "cpu", 60.0},
        {"perf.3", "CPU Performance Core 4", "cpu", none},
        {"perf.4", "CPU Performance Core 5", "cpu", 66.0},
        {"perf.5", "CPU Performance Core 6", "cpu", 65.0},
        {"perf.6", "CPU Performance Core 7", "cpu", 59.0},
        {"perf.7", "CPU Performance Core 8", "cpu", 62.0},
        // Seven runs in five slices of step 1.4: 0..<1, 1..<2, 2..<4, 4..<5, 5..<7.
        {"gpu.0", "GPU Cluster 1", "memorychip", 52.0},
        {"gpu.1", "GPU Cluster 2", "memorychip", 48.0},
        {"gpu.2", "GPU Cluster 3", "memorychip", 54.0},
        {"gpu.3", "GPU Cluster 4", "memorychip", 56.0},
        {"gpu.4", "GPU Cluster 5", "memorychip", 59.0},
        {"gpu.avg", "GPU Cluster Average", "memorychip", 269.0 / 5},
        {"pwr.die", "Power Manager Die Average", "bolt.fill", 41.0},
        {"TPSP", "Power Supply Proximity", "powerplug.fill", 33.0},
        {"TDeL", "Thunderbolt Left Proximity", "bolt.horizontal.fill", 35.0},
        {"TDeR", "Thunderbolt Right Proximity", "bolt.horizontal.fill", none},
        {"TH0x", "SSD", "internaldrive.fill", 39.0},
    };
    EXPECT_EQ(rows, expected);
}

TEST(DeviceSensorMap, AggregatesOfAnAppleSiliconLaptop) {
    const auto sensors = appleSiliconLaptop();
    const CoreCounts counts{8, 4};
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
    const auto rows = fixedList(sensors, noCounts);
    EXPECT_EQ(idsOf(rows),
              (std::vector<std::string>{"cpu.generic", "gpu.generic", "gpu.0", "gpu.avg", "pwr.die"}));
    EXPECT_EQ(rows[0].value, 60.0);
    EXPECT_EQ(rows[1].value, 42.0);
    EXPECT_EQ(rows[4].value, 30.0); // "TPD" is a bare prefix, without a length test
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
