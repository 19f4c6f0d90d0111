#include "core/four_cc.h"
#include "fakes/counting_transport.h"
#include "smc/sensor_discovery.h"

#include <gtest/gtest.h>
#include <ranges>

namespace halvoren {
namespace {

using Kind = SMCDataType::Kind;

std::vector<std::string> keysOf(const std::vector<SMCSensor>& sensors) {
    const auto keys = sensors | std::views::transform(&SMCSensor::key);
    return {keys.begin(), keys.end()};
}

TEST(SensorDiscovery, WalksEveryIndexAndSkipsWhatFails) {
    auto [fake, bridge] = makeFakeBridge();
    fake->setValue("TC0P", Kind::sp78, 45.0);                         // 0
    fake->setValue("TG0P", Kind::sp78, 50.0);                         // 1: the index call throws
    fake->setRaw(0xFF414243, SMCDataType::sp78Code, 2, {0x20, 0x00}); // 2: not UTF-8
    fake->setRaw(0xF1808041, SMCDataType::sp78Code, 2, {0x20, 0x00}); // 3: repairs to another key
    fake->setRaw("CHIP", FourCC::code("ch8*"), 4, {'M', '3', 0, 0});  // 4: no codec for the type
    fake->setValue("PSTR", Kind::flt, 12.5);                          // 5
    fake->setValue("TZ99", Kind::flt, 131.0);                         // 6: no plausible temperature
    fake->setValue("Tp01", Kind::flt, 61.25);                         // 7
    fake->setValue("VD0R", Kind::flt, 11.9);                          // 8
    fake->setValue("F0Ac", Kind::fpe2, 1800.0);                       // 9
    fake->setValue("FNum", Kind::ui8, 1.0);                           // 10: no sensor
    fake->setValue("TB0T", Kind::sp78, 30.0);                         // 11: key information refused
    fake->setValue("Tm0P", Kind::sp78, 40.0);                         // 12: read refused
    fake->setValue("TH0x", Kind::sp78, 38.0);                         // 13: read throws
    fake->setRaw("Ts0P", SMCDataType::sp78Code, 1, {0x20});           // 14: too short to decode
    fake->setValue("Ta0P", Kind::sp78, 25.0);                         // 15: result 0x01 at its index
    fake->setValue("Te05", Kind::sp78, 55.0);                         // 16
    fake->failIndex(1, -536870212);
    fake->setIndexResult(15, 0x01);
    fake->setResult("TB0T", SMCCommand::keyInformation, SMCResult::keyNotFound);
    fake->setResult("Tm0P", SMCCommand::readValue, SMCResult::notReadable);
    fake->failCall("TH0x", SMCCommand::readValue, 1);
    fake->setKeyCount(18); // one index more than the table

    const SensorDiscovery discovery(bridge);
    const auto all = discovery.discoverAll();
    EXPECT_EQ(keysOf(all), (std::vector<std::string>{"TC0P", "PSTR", "Tp01", "VD0R", "F0Ac", "Te05"}));
    EXPECT_EQ(fake->calls(SMCCommand::keyByIndex), 18);
    ASSERT_EQ(all.size(), 6u);
    EXPECT_EQ(all[0], (SMCSensor{"TC0P", "TC0P", "CPU P", SensorCategory::cpu, 45.0, SensorClass::temperature,
                                 "°C"}));
    EXPECT_EQ(all[1],
              (SMCSensor{"PSTR", "PSTR", "PSTR", SensorCategory::enclosure, 12.5, SensorClass::power, "W"}));
    EXPECT_EQ(all[4], (SMCSensor{"F0Ac", "F0Ac", "F0Ac", SensorCategory::enclosure, 1800.0, SensorClass::fan,
                                 "RPM"}));

    EXPECT_EQ(keysOf(discovery.discover()), (std::vector<std::string>{"TC0P", "Tp01", "Te05"}));
}

TEST(SensorDiscovery, NoUsableKeyCountMeansNoSensors) {
    {
        auto [fake, bridge] = makeFakeBridge();
        fake->setValue("TC0P", Kind::sp78, 45.0);
        fake->setKeyCount(0);
        EXPECT_TRUE(SensorDiscovery(bridge).discoverAll().empty());
        EXPECT_EQ(fake->calls(SMCCommand::keyByIndex), 0);
        fake->setKeyCount(1);
        fake->setResult("#KEY", SMCCommand::readValue, SMCResult::notReadable);
        EXPECT_TRUE(SensorDiscovery(bridge).discover().empty());
    }
    {
        auto [fake, bridge] = makeFakeBridge();
        fake->setValue("TC0P", Kind::sp78, 45.0);
        fake->setRaw("#KEY", SMCDataType::fltCode, 4, {0x00, 0x00, 0x80, 0xBF}); // -1.0
        EXPECT_TRUE(SensorDiscovery(bridge).discoverAll().empty());
        fake->failEveryCall(3);
        EXPECT_TRUE(SensorDiscovery(bridge).discoverAll().empty());
        EXPECT_EQ(fake->calls(SMCCommand::keyByIndex), 0);
    }
}

TEST(SensorDiscovery, RefreshKeepsOrderAndOldValuesOnFailure) {
    auto [fake, bridge] = makeFakeBridge();
    fake->setValue("Tp01", Kind::flt, 45.0);
    fake->setValue("PSTR", Kind::flt, 12.0);
    fake->setValue("TG0P", Kind::sp78, 50.0);
    fake->setValue("F0Ac", Kind::fpe2, 1800.0);
    const SensorDiscovery discovery(bridge);
    const auto sensors = discovery.discoverAll();
    ASSERT_EQ(sensors.size(), 4u);
    EXPECT_TRUE(discovery.refresh({}).empty());

    fake->setValue("Tp01", Kind::flt, 46.5);
    fake->setValue("F0Ac", Kind::fpe2, 2000.0);
    auto refreshed = discovery.refresh(sensors);
    EXPECT_EQ(refreshed[0].currentTemp, 46.5);
    EXPECT_EQ(refreshed[3].currentTemp, 2000.0);

    // A temperature out of the plausible range is dropped; other classes have no range.
    fake->setValue("Tp01", Kind::flt, 300.0);
    fake->setValue("PSTR", Kind::flt, 300.0);
    fake->setResult("TG0P", SMCCommand::readValue, SMCResult::notReadable);
    fake->failCall("F0Ac", SMCCommand::readValue, 9);
    refreshed = discovery.refresh(refreshed);
    ASSERT_EQ(keysOf(refreshed), keysOf(sensors));
    EXPECT_EQ(refreshed[0].currentTemp, 46.5);
    EXPECT_EQ(refreshed[1].currentTemp, 300.0);
    EXPECT_EQ(refreshed[2], sensors[2]);
    EXPECT_EQ(refreshed[3].currentTemp, 2000.0);
    EXPECT_EQ(refreshed[0].name, "P-Core 1");

    // Sensors not from the controller, or whose key has gone, pass through untouched.
    const SMCSensor hid{
        "PMU tdie1", "PMU tdie1", "PMU tdie1", SensorCategory::cpu, 40.0, SensorClass::temperature, "°C"};
    const SMCSensor gone{"TZ0P", "TZ0P", "TZ0P", SensorCategory::enclosure, 33.0, SensorClass::temperature,
                         "°C"};
    EXPECT_EQ(discovery.refresh({hid, gone, sensors[1]}), (std::vector<SMCSensor>{hid, gone, refreshed[1]}));
}

} // namespace
} // namespace halvoren
