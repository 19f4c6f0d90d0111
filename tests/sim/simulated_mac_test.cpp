#include "core/four_cc.h"
#include "sim_test_support.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace halvoren {
namespace {

using test::Exchange;

double hottest(SimulatedMac& mac) {
    return std::ranges::max(mac.nodes(), {}, &NodeTemperature::temperature).temperature;
}

// Every key's raw bytes, in index order.
std::vector<std::vector<std::uint8_t>> readAll(SimulatedMac& mac) {
    Exchange ex{mac};
    std::vector<std::vector<std::uint8_t>> all;
    for (const auto& key : mac.profile().keys) {
        all.push_back(ex.readRaw(key.name, key.size).valueBytes(key.size));
    }
    return all;
}

TEST(SimulatedMac, SameSeedAndClockGiveTheSameBytesHoweverOftenAnyoneReads) {
    const auto profile = test::builtIn("apple-silicon-laptop-2fan");
    ManualClock clockA;
    ManualClock clockB;
    SimulatedMac a(profile, clockA, 42, burstLoad());
    SimulatedMac b(profile, clockB, 42, burstLoad());
    Exchange exA{a};
    Exchange exB{b};

    // A polls every step and reads some keys twice; B reads only now and then, in reverse order.
    for (int step = 1; step <= 1200; ++step) {
        clockA.advance(0.05);
        clockB.advance(0.05);
        if (step == 300) {
            // The same write lands at the same instant on both.
            for (Exchange* ex : {&exA, &exB}) {
                ASSERT_EQ(ex->write("F0Md", 1), 0);
                ASSERT_EQ(ex->write("F0Tg", 4000), 0);
            }
        }
        readAll(a);
        exA.read("Tp01");
        if (step % 97 == 0) {
            for (auto it = profile.keys.rbegin(); it != profile.keys.rend(); ++it) {
                exB.readRaw(it->name, it->size);
            }
        }
    }
    const auto bytesA = readAll(a);
    EXPECT_EQ(bytesA, readAll(b));

    // Noise is there and comes from the seed.
    ManualClock clockC;
    SimulatedMac c(profile, clockC, 43, burstLoad());
    clockC.advance(60.0);
    EXPECT_NE(bytesA, readAll(c));
    // Within one step, reads repeat exactly.
    EXPECT_EQ(Exchange{c}.readRaw("Tp01", 4).bytes, Exchange{c}.readRaw("Tp01", 4).bytes);
}

TEST(SimulatedMac, ForcedFanFollowsItsTargetAtTheSpinRateWithinItsRange) {
    ManualClock clock;
    SimulatedMac mac(test::builtIn("apple-silicon-laptop-2fan"), clock, 1, idleLoad());
    Exchange ex{mac};
    ASSERT_EQ(ex.read("F0Ac"), 0.0); // cool: the firmware keeps the fans off
    ASSERT_EQ(ex.write("F0Md", 1), 0);
    ASSERT_EQ(ex.write("F0Tg", 4000), 0);
    EXPECT_EQ(ex.read("F0Md"), 1.0);
    EXPECT_EQ(ex.read("F0Tg"), 4000.0);

    clock.advance(1.0);
    EXPECT_NEAR(ex.read("F0Ac"), 1200.0, 1e-6); // 1200 RPM/s
    clock.advance(1.0);
    EXPECT_NEAR(ex.read("F0Ac"), 2400.0, 1e-6);
    clock.advance(10.0);
    EXPECT_EQ(ex.read("F0Ac"), 4000.0);
    EXPECT_EQ(ex.read("F1Ac"), 0.0) << "the other fan stays with the firmware";

    // Beyond the maximum or below the minimum, the fan stops at its limit.
    ASSERT_EQ(ex.write("F0Tg", 9000), 0);
    for (int i = 0; i < 40; ++i) {
        clock.advance(0.25);
        EXPECT_LE(ex.read("F0Ac"), 5800.0);
    }
    EXPECT_EQ(ex.read("F0Ac"), 5800.0);
    ASSERT_EQ(ex.write("F0Tg", 0), 0);
    clock.advance(1.0);
    EXPECT_NEAR(ex.read("F0Ac"), 4600.0, 1e-6);
    clock.advance(10.0);
    EXPECT_EQ(ex.read("F0Ac"), 1200.0);

    // Released, the fan goes back to the firmware, which stops it while cool.
    ASSERT_EQ(ex.write("F0Md", 0), 0);
    clock.advance(5.0);
    EXPECT_EQ(ex.read("F0Ac"), 0.0);
    EXPECT_EQ(ex.read("F0Tg"), 0.0);
    EXPECT_FALSE(mac.fans()[0].forced);
}

// The writer's tests follow the unlock through; here, what only the controller shows.
TEST(SimulatedMac, TheSystemHoldsTheFansOfAnM2ToM4UntilFtstAndTakesThemBackWithout) {
    ManualClock clock;
    SimulatedMac mac(test::builtIn("apple-silicon-desktop-1fan"), clock, 1, idleLoad());
    Exchange ex{mac};
    EXPECT_EQ(ex.read("F0Md"), 3.0);
    EXPECT_EQ(ex.write("F0Md", 1), 0x82);
    EXPECT_EQ(ex.write("F0Md", 0), 0) << "leaving the fan to the system changes nothing";
    ASSERT_EQ(ex.write("Ftst", 1), 0);
    clock.advance(3.9);
    ASSERT_EQ(ex.write("Ftst", 1), 0) << "a second 1 does not start the wait again";
    clock.advance(0.1);
    ASSERT_EQ(ex.write("F0Md", 1), 0);
    EXPECT_TRUE(mac.fans()[0].forced);
    ASSERT_EQ(ex.write("Ftst", 0), 0);
    EXPECT_EQ(ex.read("F0Md"), 3.0);
    EXPECT_FALSE(mac.fans()[0].forced);
}

TEST(SimulatedMac, FirmwareCurveSpeedsUpUnderLoadAndSlowsDownAtIdle) {
    for (const auto* name : {"apple-silicon-laptop-2fan", "apple-silicon-desktop-1fan", "intel-laptop"}) {
        SCOPED_TRACE(name);
        ManualClock clock;
        SimulatedMac mac(test::builtIn(name), clock, 1, idleLoad());
        test::run(clock, mac, 300.0);
        const auto idle = mac.fans();
        const double idleHot = hottest(mac);

        mac.setLoad(sustainedLoad());
        test::run(clock, mac, 300.0);
        const auto busy = mac.fans();
        EXPECT_GT(hottest(mac), idleHot + 15.0);
        for (std::size_t i = 0; i < busy.size(); ++i) {
            EXPECT_GT(busy[i].actual, std::max(idle[i].actual, busy[i].minimum) + 300.0) << "fan " << i;
            EXPECT_LE(busy[i].actual, busy[i].maximum);
            EXPECT_EQ(busy[i].actual, busy[i].target) << "settled on the firmware's target";
        }

        mac.setLoad(idleLoad());
        test::run(clock, mac, 600.0);
        for (const auto& fan : mac.fans()) {
            EXPECT_LT(fan.actual, busy[0].actual - 300.0);
            EXPECT_TRUE(fan.actual == 0.0 || fan.actual >= fan.minimum);
        }
    }
}

TEST(SimulatedMac, FanlessMachineRunsHotterUnderSustainedLoad) {
    const auto hotAfter = [](const std::string& name, std::unique_ptr<LoadScenario> load) {
        ManualClock clock;
        SimulatedMac mac(test::builtIn(name), clock, 1, std::move(load));
        test::run(clock, mac, 300.0);
        return std::pair{hottest(mac), Exchange{mac}.read("Tp01")};
    };
    const auto fanless = hotAfter("apple-silicon-laptop-fanless", sustainedLoad());
    const auto cooled = hotAfter("apple-silicon-laptop-2fan", sustainedLoad());
    EXPECT_GT(fanless.first, cooled.first + 5.0);
    EXPECT_GT(fanless.second, cooled.second + 5.0);
    EXPECT_LT(fanless.first, 110.0) << "throttling holds it";
    EXPECT_LT(hotAfter("apple-silicon-laptop-fanless", idleLoad()).first, 45.0);
}

TEST(SimulatedMac, AnswersEachCommandWithTheControllersResultCodes) {
    ManualClock clock;
    SimulatedMac mac(test::builtIn("apple-silicon-laptop-2fan"), clock, 1, idleLoad());
    Exchange ex{mac};

    const auto info = ex.info("F0Tg");
    EXPECT_EQ(info.result, 0);
    EXPECT_EQ(info.keyInfo.dataSize, 4u);
    EXPECT_EQ(FourCC::string(info.keyInfo.dataType), "flt ");
    EXPECT_EQ(info.keyInfo.dataAttributes, 0xC0);
    EXPECT_EQ(ex.info("TB0T").keyInfo.dataAttributes, 0x80);

    for (const auto* key : {"F0Ac", "F0Mn", "F0Mx", "FNum", "#KEY", "TB0T", "PSTR", "RPlt"}) {
        EXPECT_EQ(ex.writeBytes(key, std::vector<std::uint8_t>(ex.info(key).keyInfo.dataSize, 0)), 134)
            << key;
    }
    EXPECT_EQ(ex.read("F0Mn"), 1200.0) << "a refused write changes nothing";

    for (const auto* unknown : {"ZZZZ", "TC0P"}) {
        EXPECT_EQ(ex.info(unknown).result, 132);
        EXPECT_EQ(ex.readRaw(unknown, 2).result, 132);
        EXPECT_EQ(ex.writeBytes(unknown, {0, 0}), 132);
    }
    EXPECT_EQ(ex.writeBytes("F0Tg", {0, 0}), 0x87) << "size mismatch";
    EXPECT_EQ(ex.write("F0Md", 2), 0x89) << "modes are 0 and 1";
    EXPECT_EQ(ex.writeBytes("F0Tg", {0x00, 0x00, 0xC0, 0x7F}), 0x89) << "NaN target";
    EXPECT_EQ(ex.write("F0Tg", -5), 0x89);
    SMCParamStruct unknownCommand;
    unknownCommand.data8 = 7;
    EXPECT_EQ(mac.exchange(unknownCommand).result, 0x82);

    // The read value and the sensor follow the model's node.
    const double node = *mac.nodeTemperature("battery");
    const double tb0t = ex.read("TB0T");
    EXPECT_NEAR(tb0t, node + 0.5, 0.05 + 1e-6);
    EXPECT_FALSE(mac.nodeTemperature("nowhere"));
}

} // namespace
} // namespace halvoren
