#include "smc/hid_sensor_source.h"
#include "temp_directory.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

namespace halvoren {
namespace {

using Pairs = std::vector<std::pair<std::string, double>>;
using Readings = std::vector<HIDSensorReading>;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(FriendlyHIDName, DieSensorsTakeAWholeSignedIntegerAndOtherNamesMatchWhole) {
    const std::pair<const char*, const char*> renamed[] = {
        {"PMU tdie03", "Die Sensor 3"},
        {"PMU tdie+7", "Die Sensor 7"},
        {"PMU tdie-2", "Die Sensor -2"},
        {"PMU tdie-0", "Die Sensor 0"},
        {"PMU tdie9223372036854775807", "Die Sensor 9223372036854775807"},
        {"NAND CH0 temp", "SSD (NAND)"},
        {"gas gauge battery", "Battery (Gas Gauge)"},
    };
    for (const auto& [raw, name] : renamed) {
        EXPECT_EQ(friendlyHIDName(raw), name) << raw;
    }
    // Nothing, a bare sign, other characters, more than 64 bits, or a near miss keeps the raw name.
    for (const char* raw :
         {"PMU tdie", "PMU tdieX", "PMU tdie+", "PMU tdie-", "PMU tdie 3", "PMU tdie3a", "PMU tdie+-3",
          "PMU tdie99999999999999999999", "pmu tdie3", "NAND CH0 temp ", "NAND CH1 temp", ""}) {
        EXPECT_EQ(friendlyHIDName(raw), raw);
    }
}

TEST(AggregateHID, MedianPerNameInFirstMetOrderOfPlausibleReadings) {
    EXPECT_EQ(aggregateHID({{"A", 10.0}, {"A", 30.0}, {"A", 20.0}, {"B", 50.0}}),
              (Readings{{"A", 20.0}, {"B", 50.0}}));
    // B is met first although A holds more readings; an even count takes the two middle values.
    EXPECT_EQ(aggregateHID({{"B", 1.0}, {"A", 40.0}, {"A", 10.0}, {"B", 3.0}, {"A", 30.0}, {"A", 20.0}}),
              (Readings{{"B", 2.0}, {"A", 25.0}}));
    EXPECT_TRUE(aggregateHID({}).empty());
    const Pairs bounds{{"A", 131.0}, {"?", 50.0},    {"", 50.0},     {"B", -40.0}, {"C", 130.0},
                       {"D", nan},   {"E", -40.001}, {"F", 130.001}, {"G", inf},   {"H", -inf}};
    EXPECT_EQ(aggregateHID(bounds), (Readings{{"B", -40.0}, {"C", 130.0}}));
    // A dropped value does not count toward its name's median.
    EXPECT_EQ(aggregateHID({{"A", 10.0}, {"A", nan}, {"A", 500.0}, {"A", 30.0}}), (Readings{{"A", 20.0}}));
}

TEST(HIDSensorSource, ReadsItsBackendAnewEachTimeAsEnclosureTemperatures) {
    EXPECT_EQ(sensorFromHID({"PMU tdie03", 47.5}),
              (SMCSensor{"hid:PMU tdie03", "hid:PMU tdie03", "Die Sensor 3", SensorCategory::enclosure, 47.5,
                         SensorClass::temperature, "°C"}));
    int calls = 0;
    const HIDSensorSource source([&calls] {
        ++calls;
        return Pairs{{"gas gauge battery", 31.0}, {"?", 20.0}, {"gas gauge battery", 33.0}};
    });
    EXPECT_EQ(source.readAll(), (Readings{{"gas gauge battery", 32.0}}));
    source.readAll();
    EXPECT_EQ(calls, 2);
    EXPECT_TRUE(HIDSensorSource(HIDSensorSource::Backend{}).readAll().empty());
}

#if defined(__linux__)
TEST(HwmonTemperatures, ReadsEveryDeviceButTheController) {
    const testing::TempDirectory root;
    // hwmon0: a missing input gives no reading; hwmon2: no labels, the device name alone; hwmon10:
    // the older layout, everything under device/; hwmon11 has no name and "other" is no hwmon.
    testing::writeFiles(root / "hwmon0", {"name=coretemp", "temp1_label=Package id 0", "temp1_input=52000",
                                          "temp2_label=Core 0", "temp2_input=48500", "temp3_label=Core 1",
                                          "temp3_input=not a number", "temp4_label=Core 2"});
    testing::writeFiles(root / "hwmon2", {"name=acpitz", "temp1_input=27800", "temp2_input=29800"});
    testing::writeFiles(root / "hwmon3", {"name=applesmc", "temp1_label=TC0P", "temp1_input=45250"});
    testing::writeFiles(root / "hwmon10/device", {"name=nvme", "temp1_label=Composite", "temp1_input=-1500"});
    testing::writeFiles(root.path(),
                        {"hwmon11/temp1_input=99000", "other/name=k10temp", "other/temp1_input=99000"});
    const HIDSensorSource::Backend read = hwmonTemperatureBackend(root.path());
    EXPECT_EQ(read(), (Pairs{{"coretemp Package id 0", 52.0},
                             {"coretemp Core 0", 48.5},
                             {"acpitz", 27.8},
                             {"acpitz", 29.8},
                             {"nvme Composite", -1.5}}));
    EXPECT_TRUE(hwmonTemperatureBackend(root / "absent")().empty());

    // Values are read afresh through the open files; a new device waits for the next listing.
    testing::writeFiles(root.path(),
                        {"hwmon0/temp1_input=53000", "hwmon4/name=drivetemp", "hwmon4/temp1_input=40000"});
    for (int sweep = 1; sweep < hwmonRescanInterval; ++sweep) {
        const Pairs readings = read();
        ASSERT_EQ(readings.size(), 5U);
        EXPECT_EQ(readings.front(), (std::pair<std::string, double>{"coretemp Package id 0", 53.0}));
    }
    const Pairs listedAgain = read();
    EXPECT_EQ(listedAgain.size(), 6U);
    EXPECT_NE(std::ranges::find(listedAgain, std::pair<std::string, double>{"drivetemp", 40.0}),
              listedAgain.end());
}
#endif

} // namespace
} // namespace halvoren
