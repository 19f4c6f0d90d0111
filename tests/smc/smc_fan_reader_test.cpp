#include "fakes/counting_transport.h"
#include "smc/fan_control_protocol.h"
#include "smc/smc_fan_reader.h"

#include <gtest/gtest.h>
#include <set>

namespace halvoren {
namespace {

using Kind = SMCDataType::Kind;

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

} // namespace
} // namespace halvoren
