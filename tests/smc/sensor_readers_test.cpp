// The sensor and fan readers: the kernel bridge and what reads through it, over the counting fake
// controller, and the HID and hwmon sensor source beside it.

#include "core/four_cc.h"
#include "fakes/counting_transport.h"
#include "smc/fan_control_protocol.h"
#include "smc/hid_sensor_source.h"
#include "smc/sensor_discovery.h"
#include "smc/smc_fan_reader.h"
#include "smc/smc_kernel_bridge.h"
#include "smc_test_support.h"
#include "temp_directory.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <latch>
#include <limits>
#include <ranges>
#include <set>
#include <thread>

namespace halvoren {
namespace {

using Kind = SMCDataType::Kind;
using Bytes = std::vector<std::uint8_t>;

TEST(SMCKernelBridge, KeyInformationIsAskedOnceAndFailuresAreAskedAgain) {
    auto f = makeFakeBridge();
    f.fake->setValue("TC0P", Kind::sp78, 45.5);

    EXPECT_EQ(f.bridge->read("TC0P"), 45.5);
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 1);
    EXPECT_EQ(f.fake->calls(SMCCommand::readValue), 1);
    EXPECT_EQ(f.bridge->read("TC0P"), 45.5);
    EXPECT_EQ(f.fake->totalCalls(), 3);

    // The read carries the key and size, and no type.
    const SMCParamStruct input = *f.fake->lastInput(SMCCommand::readValue);
    EXPECT_EQ(input.key, FourCC::code("TC0P"));
    EXPECT_EQ(input.keyInfo.dataSize, 2u);
    EXPECT_EQ(input.keyInfo.dataType, 0u);

    const auto raw = f.bridge->readRaw("TC0P");
    EXPECT_EQ(raw.bytes, (Bytes{0x2D, 0x80}));
    EXPECT_EQ(raw.type, SMCDataType(Kind::sp78));

    f.fake->setValue("F0Md", Kind::ui8, 1);
    f.fake->setResult("F0Md", SMCCommand::keyInformation, SMCResult::keyNotFound);
    EXPECT_EQ(thrownError([&] { f.bridge->keyInfo("F0Md"); }), SMCError::keyNotFound("F0Md"));
    EXPECT_FALSE(f.bridge->hasKey("F0Md"));
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 3);
    f.fake->failCall("F0Md", SMCCommand::keyInformation, -536870212);
    EXPECT_EQ(thrownError([&] { f.bridge->read("F0Md"); }), SMCError::callFailed(-536870212));
    f.fake->clearFailures();
    EXPECT_EQ(f.bridge->keyInfo("F0Md"), (SMCKeyInfoData{1, SMCDataType::ui8Code, 0}));
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 5);
    EXPECT_TRUE(f.bridge->hasKey("F0Md"));
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 5);
}

TEST(SMCKernelBridge, ResultBytesBecomeErrorsNamingTheKey) {
    auto f = makeFakeBridge();
    f.fake->setValue("TC0P", Kind::sp78, 40.0);
    f.fake->setValue("F0Tg", Kind::fpe2, 1200.0);

    f.fake->setResult("TC0P", SMCCommand::readValue, SMCResult::notReadable);
    EXPECT_EQ(thrownError([&] { f.bridge->read("TC0P"); }), SMCError::notReadable("TC0P"));
    f.fake->setResult("TC0P", SMCCommand::readValue, 0x01);
    EXPECT_EQ(thrownError([&] { f.bridge->readRaw("TC0P"); }), SMCError::smcResult(1));
    f.fake->setResult("F0Tg", SMCCommand::writeValue, SMCResult::notWritable);
    EXPECT_EQ(thrownError([&] { f.bridge->write("F0Tg", 1500.0); }), SMCError::notWritable("F0Tg"));
    EXPECT_EQ(f.fake->bytes("F0Tg"), (Bytes{0x12, 0xC0})); // the refused write changed nothing
    EXPECT_EQ(thrownError([&] { f.bridge->read("TZZZ"); }), SMCError::keyNotFound("TZZZ"));

    // By index: the error names no key of its own.
    EXPECT_EQ(f.bridge->keyAt(1), "F0Tg");
    EXPECT_EQ(f.fake->lastInput(SMCCommand::keyByIndex)->data32, 1u);
    EXPECT_EQ(thrownError([&] { f.bridge->keyAt(2); }), SMCError::keyNotFound("#IDX"));
    EXPECT_EQ(thrownError([&] { f.bridge->keyAt(4294967295); }), SMCError::keyNotFound("#IDX"));
    f.fake->setIndexResult(0, 0x85);
    EXPECT_EQ(thrownError([&] { f.bridge->keyAt(0); }), SMCError::notReadable("#IDX"));

    f.fake->failEveryCall(5);
    EXPECT_EQ(thrownError([&] { f.bridge->keyCount(); }), SMCError::callFailed(5));
    EXPECT_FALSE(f.bridge->hasKey("TZZZ"));
    EXPECT_TRUE(f.bridge->hasKey("TC0P")); // cached before the failure
}

TEST(SMCKernelBridge, CodecFailuresAreCodecErrorsAndSendNothing) {
    auto f = makeFakeBridge();
    f.fake->setRaw("CHIP", FourCC::code("ch8*"), 4, {'M', '3', 0, 0});
    EXPECT_EQ(thrownError([&] { f.bridge->read("CHIP"); }).value().kind(), SMCError::Kind::codec);

    // A declared size of 0 reads as no bytes, which no type decodes.
    f.fake->setRaw("TC0P", SMCDataType::sp78Code, 0, {0x2D, 0x80});
    EXPECT_TRUE(f.bridge->readRaw("TC0P").bytes.empty());
    EXPECT_EQ(thrownError([&] { f.bridge->read("TC0P"); }),
              SMCError::codec("decode TC0P: sizeMismatch(expected: 2, got: 0)"));

    f.fake->setRaw("F0Md", SMCDataType::ui8Code, 2, {0, 0});
    EXPECT_EQ(thrownError([&] { f.bridge->write("F0Md", 1.0); }),
              SMCError::codec("size mismatch for F0Md: encoded 1 != 2"));
    f.fake->setValue("F0Tg", Kind::fpe2, 1200.0);
    EXPECT_EQ(thrownError([&] { f.bridge->write("F0Tg", -1.0); }),
              SMCError::codec("encode F0Tg: valueOutOfRange(-1.0)"));
    EXPECT_EQ(f.fake->calls(SMCCommand::writeValue), 0);
    EXPECT_EQ(f.fake->bytes("F0Tg"), (Bytes{0x12, 0xC0}));

    // A write that fits carries key, size and type, its bytes and zero behind them.
    f.bridge->write("F0Tg", 2000.0);
    EXPECT_EQ(f.fake->bytes("F0Tg"), (Bytes{0x1F, 0x40}));
    const SMCParamStruct sent = *f.fake->lastInput(SMCCommand::writeValue);
    EXPECT_EQ(sent.key, FourCC::code("F0Tg"));
    EXPECT_EQ(sent.keyInfo.dataSize, 2u);
    EXPECT_EQ(sent.keyInfo.dataType, SMCDataType::fpe2Code);
    EXPECT_EQ(sent.valueBytes(32), (Bytes{0x1F, 0x40, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                                          0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(SMCKernelBridge, KeyCountAndIndexPreconditions) {
    auto f = makeFakeBridge();
    f.fake->setValue("TC0P", Kind::sp78, 40.0);
    f.fake->setValue("TG0P", Kind::sp78, 40.0);
    EXPECT_EQ(f.bridge->keyCount(), 2);
    f.fake->setKeyCount(4000000000u);
    EXPECT_EQ(f.bridge->keyCount(), 4000000000);
    // Key information is cached for good, so a "#KEY" of another type needs a new bridge.
    const auto countAsFloat = [](Bytes bytes) {
        auto g = makeFakeBridge();
        g.fake->setRaw("#KEY", SMCDataType::fltCode, 4, std::move(bytes));
        return g.bridge->keyCount();
    };
    EXPECT_EQ(countAsFloat({0x00, 0x00, 0x80, 0xBF}), -1);                    // -1.0
    EXPECT_EQ(countAsFloat({0x00, 0x00, 0x20, 0x40}), 2);                     // 2.5
    EXPECT_EQ(countAsFloat({0xFF, 0xFF, 0x7F, 0x7F}), std::int64_t{1} << 62); // FLT_MAX

    EXPECT_DEATH(f.bridge->keyAt(-1), "key index -1");
    EXPECT_DEATH(f.bridge->keyAt(4294967296), "outside");
    EXPECT_DEATH(f.bridge->read("TC0"), "four bytes");
}

TEST(SMCKernelBridge, TwoThreadsShareOneBridge) {
    const auto [fake, shared] = makeFakeBridge();
    SMCKernelBridge& bridge = *shared;
    constexpr int keyCount = 256;
    constexpr int passes = 4;
    std::vector<std::string> keys;
    keys.reserve(keyCount);
    for (int i = 0; i < keyCount; ++i) {
        keys.push_back("T" + std::to_string(100 + i));
        fake->setValue(keys.back(), Kind::ui16, i);
    }

    // Both threads start together and walk the keys in the same order, so that on the first
    // pass they keep missing the cache for the same key at the same time.
    std::latch start(2);
    int wrong[2] = {0, 0};
    auto reader = [&](int which) {
        start.arrive_and_wait();
        for (int pass = 0; pass < passes; ++pass) {
            for (int i = 0; i < keyCount; ++i) {
                const auto& key = keys[static_cast<std::size_t>(i)];
                if (bridge.read(key) != i || !bridge.hasKey(key)) {
                    ++wrong[which];
                }
            }
        }
    };
    {
        const std::jthread first(reader, 0);
        const std::jthread second(reader, 1);
    }
    EXPECT_EQ(wrong[0] + wrong[1], 0);
    EXPECT_EQ(fake->calls(SMCCommand::readValue), 2 * passes * keyCount);
    // Each key is asked at most once per thread, however the misses interleave.
    EXPECT_GE(fake->calls(SMCCommand::keyInformation), keyCount);
    EXPECT_LE(fake->calls(SMCCommand::keyInformation), 2 * keyCount);
}

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
    // None, unreadable, -1.0, and no controller at all; each on a bridge of its own, as key
    // information is cached for good.
    const std::function<void(CountingTransport&)> counts[] = {
        [](CountingTransport& f) { f.setKeyCount(0); },
        [](CountingTransport& f) { f.setResult("#KEY", SMCCommand::readValue, SMCResult::notReadable); },
        [](CountingTransport& f) {
            f.setRaw("#KEY", SMCDataType::fltCode, 4, {0x00, 0x00, 0x80, 0xBF});
        },
        [](CountingTransport& f) { f.failEveryCall(3); },
    };
    for (std::size_t i = 0; i < std::size(counts); ++i) {
        auto [fake, bridge] = makeFakeBridge();
        fake->setValue("TC0P", Kind::sp78, 45.0);
        counts[i](*fake);
        EXPECT_TRUE(SensorDiscovery(bridge).discoverAll().empty()) << i;
        EXPECT_TRUE(SensorDiscovery(bridge).discover().empty()) << i;
        EXPECT_EQ(fake->calls(SMCCommand::keyByIndex), 0) << i;
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

struct Fixture {
    FakeBridge shared = makeFakeBridge();
    CountingTransport* fake = shared.fake;
    SMCFanReader reader{shared.bridge};

    // One fan as the controller reports it.
    void addFan(int i, double current, double min, double max, double target, double mode) {
        const std::string n = std::to_string(i);
        fake->setValue("F" + n + "Ac", Kind::fpe2, current);
        fake->setValue("F" + n + "Mn", Kind::fpe2, min);
        fake->setValue("F" + n + "Mx", Kind::fpe2, max);
        fake->setValue("F" + n + "Tg", Kind::fpe2, target);
        fake->setValue("F" + n + "Md", Kind::ui8, mode);
    }
};

TEST(SMCFanReader, FanCountClampsOrProbesEveryIndex) {
    Fixture f;
    EXPECT_EQ(f.reader.fanCount(), 0);

    f.fake->setValue("F0Ac", Kind::fpe2, 1200.0);
    f.fake->setValue("F2Ac", Kind::fpe2, 1300.0);
    f.fake->resetCounts();
    // Without "FNum" all ten indices are probed; the gap at 1 does not stop the probe.
    EXPECT_EQ(f.reader.fanCount(), 3);
    EXPECT_EQ(f.fake->calls(SMCCommand::keyInformation), 1 + 10);

    // Key information is cached for good, so each kind of "FNum" gets a bridge of its own.
    const auto countWith = [](std::uint32_t type, std::uint32_t size, std::vector<std::uint8_t> bytes) {
        Fixture g;
        g.fake->setValue("F0Ac", Kind::fpe2, 1200.0);
        g.fake->setValue("F2Ac", Kind::fpe2, 1300.0);
        g.fake->setRaw("FNum", type, size, std::move(bytes));
        return g.reader.fanCount();
    };
    EXPECT_EQ(countWith(SMCDataType::ui8Code, 1, {12}), 10);
    EXPECT_EQ(countWith(SMCDataType::ui8Code, 1, {2}), 2);
    // A count the controller gives is believed, even 0 with fan keys present.
    EXPECT_EQ(countWith(SMCDataType::ui8Code, 1, {0}), 0);
    EXPECT_EQ(countWith(SMCDataType::fltCode, 4, {0x00, 0x00, 0x80, 0xBF}), 0); // -1.0
    EXPECT_EQ(countWith(SMCDataType::fltCode, 4, {0x00, 0x00, 0x20, 0x40}), 2); // 2.5
    // A count that cannot be decoded counts as a failed read.
    EXPECT_EQ(countWith(SMCDataType::ui8Code, 0, {}), 3);

    f.fake->failEveryCall(-1);
    EXPECT_EQ(f.reader.fanCount(), 3); // key information is cached from the probe before
}

TEST(SMCFanReader, StatusFallsBackFieldByField) {
    Fixture f;
    f.addFan(0, 1800.0, 1200.0, 5700.0, 2000.0, 1.0);
    EXPECT_EQ(f.reader.status(0), (FanStatus{0, 1800.0, 1200.0, 5700.0, 2000.0, true, true}));

    f.fake->setResult("F0Tg", SMCCommand::readValue, SMCResult::notReadable);
    f.fake->failCall("F0Md", SMCCommand::readValue, 7);
    EXPECT_EQ(f.reader.status(0), (FanStatus{0, 1800.0, 1200.0, 5700.0, 1800.0, false, true}));

    f.fake->failCall("F0Ac", SMCCommand::readValue, 7);
    f.fake->setResult("F0Mx", SMCCommand::readValue, 0x01);
    EXPECT_EQ(f.reader.status(0), (FanStatus{0, 0.0, 1200.0, 0.0, 0.0, false, false}));

    // A fan that is all missing is still listed, flagged by its speed.
    f.fake->setValue("FNum", Kind::ui8, 2);
    const auto fans = f.reader.allFans();
    ASSERT_EQ(fans.size(), 2u);
    EXPECT_EQ(fans[0].targetRPM, 0.0);
    EXPECT_EQ(fans[1], (FanStatus{1, 0.0, 0.0, 0.0, 0.0, false, false}));
    EXPECT_DEATH(f.reader.status(10), "fan index 10");
}

TEST(SMCFanReader, ManagedMeansForcedInTheControllersOwnProtocol) {
    struct Case {
        const char* key;
        Kind kind;
        double value;
        std::vector<bool> managed; // fans 0 and 1
    };
    const Case cases[] = {
        {"Md", Kind::ui8, 1.0, {true, true}},     {"Md", Kind::ui8, 0.0, {false, false}},
        {"Md", Kind::ui8, 3.0, {false, false}}, // held by the system's thermal control
        {"md", Kind::ui8, 1.0, {true, true}},   // the M5 spelling
        {"FS! ", Kind::ui16, 2.0, {false, true}},
    };
    for (const auto& [key, kind, value, managed] : cases) {
        Fixture f;
        f.fake->setValue("FNum", Kind::ui8, 2);
        for (int fan = 0; fan < 2; ++fan) {
            f.fake->setValue("F" + std::to_string(fan) + "Ac", Kind::fpe2, 2000.0);
            if (std::string(key).size() == 2) {
                f.fake->setValue("F" + std::to_string(fan) + key, kind, value);
            }
        }
        if (std::string(key).size() == 4) {
            f.fake->setValue(key, kind, value);
        }
        const auto fans = f.reader.allFans();
        EXPECT_EQ((std::vector<bool>{fans[0].isManaged, fans[1].isManaged}), managed) << key << " " << value;
    }
}

TEST(FanControlProtocol, KeysTellTheGeneration) {
    struct Case {
        std::set<std::string> keys;
        FanControlProtocol expected;
    };
    const Case cases[] = {
        {{"F0Ac", "F0Tg", "FS! "}, {FanControl::forceBits, false}}, // Intel before the T2
        {{"F0Ac", "F0Tg", "F0Md"}, {FanControl::modeKey, false}},   // T2 Intel, M1, the M2 Max dump
        {{"F0Md", "Ftst"}, {FanControl::unlockModeKey, false}},     // M2 to M4
        {{"F0md", "F0Tg"}, {FanControl::modeKey, true}},            // M5
        {{"F0md", "Ftst"}, {FanControl::unlockModeKey, true}},
        {{"F0Md", "FS! "}, {FanControl::modeKey, false}},   // a mode key wins over the bits
        {{"FS! ", "Ftst"}, {FanControl::forceBits, false}}, // Ftst alone unlocks nothing
        {{"F1Md", "F0Tg"}, {FanControl::none, false}},      // fan 0's keys decide
        {{"F0Ac", "F0Tg", "Ftst"}, {FanControl::none, false}},
    };
    for (const auto& c : cases) {
        const auto found =
            fanControlProtocol([&c](std::string_view key) { return c.keys.contains(std::string(key)); });
        EXPECT_EQ(found, c.expected) << found.description() << " for " << *c.keys.begin();
    }
    EXPECT_EQ((FanControlProtocol{FanControl::modeKey, true}.modeKey(7)), "F7md");
    EXPECT_EQ((FanControlProtocol{FanControl::unlockModeKey, false}.modeKey(1)), "F1Md");
}

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
