#include "smc/hid_sensor_source.h"
#include "temp_directory.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace halvoren {
namespace {

using Pairs = std::vector<std::pair<std::string, double>>;
using testing::writeFile;

TEST(FriendlyHIDName, DieSensorsTakeAWholeSignedInteger) {
    EXPECT_EQ(friendlyHIDName("PMU tdie03"), "Die Sensor 3");
    EXPECT_EQ(friendlyHIDName("PMU tdie+7"), "Die Sensor 7");
    EXPECT_EQ(friendlyHIDName("PMU tdie-2"), "Die Sensor -2");
    EXPECT_EQ(friendlyHIDName("PMU tdie-0"), "Die Sensor 0");
    // Nothing, a bare sign, other characters, or more than 64 bits is no integer.
    for (const char* raw : {"PMU tdie", "PMU tdieX", "PMU tdie+", "PMU tdie-", "PMU tdie 3", "PMU tdie3a",
                            "PMU tdie+-3", "PMU tdie99999999999999999999", "pmu tdie3"}) {
        EXPECT_EQ(friendlyHIDName(raw), raw);
    }
    EXPECT_EQ(friendlyHIDName("PMU tdie9223372036854775807"), "Die Sensor 9223372036854775807");
}

TEST(FriendlyHIDName, StorageAndBatteryNamesMatchWhole) {
    EXPECT_EQ(friendlyHIDName("NAND CH0 temp"), "SSD (NAND)");
    EXPECT_EQ(friendlyHIDName("gas gauge battery"), "Battery (Gas Gauge)");
    EXPECT_EQ(friendlyHIDName("NAND CH0 temp "), "NAND CH0 temp ");
    EXPECT_EQ(friendlyHIDName("NAND CH1 temp"), "NAND CH1 temp");
    EXPECT_EQ(friendlyHIDName("coretemp Package id 0"), "coretemp Package id 0");
    EXPECT_EQ(friendlyHIDName(""), "");
}

TEST(AggregateHID, MedianPerNameInFirstMetOrder) {
    const std::vector<HIDSensorReading> odd{{"A", 20.0}, {"B", 50.0}};
    EXPECT_EQ(aggregateHID({{"A", 10.0}, {"A", 30.0}, {"A", 20.0}, {"B", 50.0}}), odd);
    EXPECT_EQ(aggregateHID({{"A", 10.0}, {"A", 20.0}}), (std::vector<HIDSensorReading>{{"A", 15.0}}));
    // B is met first although A holds more readings; the even median takes the two middle values.
    EXPECT_EQ(aggregateHID({{"B", 1.0}, {"A", 40.0}, {"A", 10.0}, {"B", 3.0}, {"A", 30.0}, {"A", 20.0}}),
              (std::vector<HIDSensorReading>{{"B", 2.0}, {"A", 25.0}}));
    EXPECT_TRUE(aggregateHID({}).empty());
}

TEST(AggregateHID, DropsNamelessAndImplausibleReadings) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const auto result = aggregateHID(Pairs{{"A", 131.0},
                                           {"?", 50.0},
                                           {"", 50.0},
                                           {"B", -40.0},
                                           {"C", 130.0},
                                           {"D", nan},
                                           {"E", -40.001},
                                           {"F", 130.001},
                                           {"G", inf},
                                           {"H", -inf}});
    EXPECT_EQ(result, (std::vector<HIDSensorReading>{{"B", -40.0}, {"C", 130.0}}));
    // A dropped value does not count toward its name's median.
    EXPECT_EQ(aggregateHID({{"A", 10.0}, {"A", nan}, {"A", 500.0}, {"A", 30.0}}),
              (std::vector<HIDSensorReading>{{"A", 20.0}}));
}

TEST(HIDSensor, MapsToAnEnclosureTemperatureUnderItsRawName) {
    EXPECT_EQ(sensorFromHID({"PMU tdie03", 47.5}),
              (SMCSensor{"hid:PMU tdie03", "hid:PMU tdie03", "Die Sensor 3", SensorCategory::enclosure, 47.5,
                         SensorClass::temperature, "°C"}));
}

TEST(HIDSensorSource, AggregatesWhatItsBackendLists) {
    int calls = 0;
    const HIDSensorSource source([&calls] {
        ++calls;
        return Pairs{{"gas gauge battery", 31.0}, {"?", 20.0}, {"gas gauge battery", 33.0}};
    });
    EXPECT_EQ(source.readAll(), (std::vector<HIDSensorReading>{{"gas gauge battery", 32.0}}));
    source.readAll();
    EXPECT_EQ(calls, 2); // read anew each time
    EXPECT_TRUE(HIDSensorSource(HIDSensorSource::Backend{}).readAll().empty());
}

#if defined(__linux__)
TEST(HwmonTemperatures, ReadsEveryDeviceButTheController) {
    const testing::TempDirectory root;
    writeFile(root / "hwmon0/name", "coretemp");
    writeFile(root / "hwmon0/temp1_label", "Package id 0");
    writeFile(root / "hwmon0/temp1_input", "52000");
    writeFile(root / "hwmon0/temp2_label", "Core 0");
    writeFile(root / "hwmon0/temp2_input", "48500");
    writeFile(root / "hwmon0/temp3_label", "Core 1");
    writeFile(root / "hwmon0/temp3_input", "not a number");
    writeFile(root / "hwmon0/temp4_label", "Core 2"); // no input: no reading
    writeFile(root / "hwmon2/name", "acpitz");        // no labels: the device name alone
    writeFile(root / "hwmon2/temp1_input", "27800");
    writeFile(root / "hwmon2/temp2_input", "29800");
    writeFile(root / "hwmon3/name", "applesmc");
    writeFile(root / "hwmon3/temp1_label", "TC0P");
    writeFile(root / "hwmon3/temp1_input", "45250");
    writeFile(root / "hwmon10/device/name", "nvme"); // older layout: everything under device/
    writeFile(root / "hwmon10/device/temp1_label", "Composite");
    writeFile(root / "hwmon10/device/temp1_input", "-1500");
    writeFile(root / "hwmon11/temp1_input", "99000"); // no name: not a device
    writeFile(root / "other/name", "k10temp");
    writeFile(root / "other/temp1_input", "99000");

    EXPECT_EQ(hwmonTemperatures(root.path()), (Pairs{{"coretemp Package id 0", 52.0},
                                                     {"coretemp Core 0", 48.5},
                                                     {"acpitz", 27.8},
                                                     {"acpitz", 29.8},
                                                     {"nvme Composite", -1.5}}));
    // The unlabelled zones share a name and so become one sensor.
    const HIDSensorSource source([&root] { return hwmonTemperatures(root.path()); });
    const auto readings = source.readAll();
    ASSERT_EQ(readings.size(), 4u);
    EXPECT_EQ(readings[2].name, "acpitz");
    EXPECT_NEAR(readings[2].celsius, 28.8, 1e-9);

    EXPECT_TRUE(hwmonTemperatures(root / "absent").empty());
}
#endif

} // namespace
} // namespace halvoren
