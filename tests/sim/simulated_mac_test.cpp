// The simulated Mac, the loads it runs and the faults it can be told to show.

#include "../smc/smc_test_support.h"
#include "core/four_cc.h"
#include "platform/host_cpu_load.h"
#include "sim/load_scenario.h"
#include "sim/simulated_smc_transport.h"
#include "sim_test_support.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace halvoren {
namespace {

std::string scriptError(const std::string& text) {
    return thrownMessage<LoadScriptError>([&] { LoadScript::parse(text); });
}

TEST(LoadScript, InterpolatesBetweenPointsHoldsAtTheEndsAndStepsAtEqualTimes) {
    const auto script = LoadScript::parse("# warm-up\n"
                                          "10 0.0 0.2\n"
                                          "\n"
                                          "20\t1.0 0.4   # ramp\r\n"
                                          "30 1.0 0.4\n"
                                          "30 0.1 0.0\n");
    ASSERT_EQ(script.points().size(), 4u);
    EXPECT_EQ(script.at(0.0), (Load{0.0, 0.2}));
    EXPECT_EQ(script.at(10.0), (Load{0.0, 0.2}));
    EXPECT_NEAR(script.at(12.5).cpu, 0.25, 1e-12);
    EXPECT_NEAR(script.at(12.5).gpu, 0.25, 1e-12);
    EXPECT_EQ(script.at(29.999).cpu, 1.0);
    EXPECT_EQ(script.at(30.0), (Load{0.1, 0.0}));
    EXPECT_EQ(script.at(1e9), (Load{0.1, 0.0}));

    EXPECT_EQ(scriptError("0 0.5 0.5\n5 0.5\n"),
              "line 2: expected three numbers \"seconds cpu gpu\", found 2");
    EXPECT_EQ(scriptError("0 0.5 half\n"), "line 1: expected numbers \"seconds cpu gpu\"");
    EXPECT_EQ(scriptError("0 0.5 0.5x\n"), "line 1: expected numbers \"seconds cpu gpu\"");
    EXPECT_EQ(scriptError("5 0 0\n4 0 0\n"), "line 2: time 4.0 is before the previous point at 5.0");
    EXPECT_EQ(scriptError("0 1.5 0\n"), "line 1: cpu load 1.5 is outside 0...1");
    EXPECT_EQ(scriptError("0 0 -0.25\n"), "line 1: gpu load -0.25 is outside 0...1");
    EXPECT_EQ(scriptError("# nothing\n\n"), "the script has no points");
    EXPECT_EQ(scriptError("0 nan 0\n"), "line 1: expected numbers \"seconds cpu gpu\"");
}

TEST(LoadScenario, BuiltInShapes) {
    auto burst = burstLoad({.period = 10.0, .length = 2.0, .peak = {0.9, 0.3}});
    EXPECT_EQ(burst->at(0.0), (Load{0.9, 0.3}));
    EXPECT_EQ(burst->at(1.99), (Load{0.9, 0.3}));
    EXPECT_EQ(burst->at(2.0), idleLevel);
    EXPECT_EQ(burst->at(21.0), (Load{0.9, 0.3}));
    EXPECT_EQ(burst->at(29.0), idleLevel);

    for (const auto* name : {"idle", "burst", "sustained", "host"}) {
        EXPECT_NE(loadScenarioNamed(name), nullptr) << name;
    }
    EXPECT_EQ(loadScenarioNamed("turbo"), nullptr);
    EXPECT_EQ(loadScenarioNamed("sustained")->at(100.0), (Load{1.0, 0.5}));
}

TEST(HostLoad, FollowsTheHostsBusyShareSampledOncePerSecondFromTheAggregateLineOfProcStat) {
    std::vector<std::optional<CpuTimes>> samples{CpuTimes{100, 1000}, CpuTimes{175, 1100}, std::nullopt,
                                                 CpuTimes{175, 1100}, CpuTimes{200, 1200}};
    std::size_t calls = 0;
    auto host = hostLoad([&]() -> std::optional<CpuTimes> { return samples.at(calls++); });

    EXPECT_EQ(host->at(0.0), idleLevel); // one sample gives no share yet
    EXPECT_EQ(host->at(0.5), idleLevel);
    EXPECT_EQ(calls, 1u);
    const Load busy = host->at(1.0);
    EXPECT_DOUBLE_EQ(busy.cpu, 0.75);
    EXPECT_DOUBLE_EQ(busy.gpu, 0.15);
    EXPECT_EQ(host->at(2.0), busy); // a failed sample keeps the last share
    EXPECT_EQ(host->at(3.0), busy); // no time passed on the host: keep it too
    EXPECT_DOUBLE_EQ(host->at(4.0).cpu, 0.25);
    EXPECT_EQ(calls, 5u);

    EXPECT_EQ(parseProcStat("cpu  10 2 8 70 5 1 2 2 4 0\ncpu0 1 1 1 1\n"), (CpuTimes{25, 100}));
    EXPECT_EQ(parseProcStat("cpu 1 2 3 4"), (CpuTimes{6, 10}));
    EXPECT_EQ(parseProcStat("cpu 1 2 3"), std::nullopt);
    EXPECT_EQ(parseProcStat("cpu0 1 2 3 4 5"), std::nullopt);
    EXPECT_EQ(parseProcStat("cpu 1 2 x 4 5"), std::nullopt);
    EXPECT_EQ(parseProcStat(""), std::nullopt);

    EXPECT_EQ(busyFraction({10, 100}, {10, 100}), std::nullopt);
    EXPECT_EQ(busyFraction({10, 100}, {5, 200}), std::nullopt);
    EXPECT_EQ(busyFraction({10, 100}, {60, 200}), 0.5);
}

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

    clock.advance(1.0);
    EXPECT_NEAR(ex.read("F0Ac"), 1200.0, 1e-6); // 1200 RPM/s
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

TEST(SimulatedMac, FirmwareCurveSpeedsUpUnderLoadAndSlowsDownAtIdleAndAFanlessMachineRunsHotter) {
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

struct FaultTest : ::testing::Test {
    ManualClock clock;
    std::shared_ptr<SimulatedMac> mac =
        std::make_shared<SimulatedMac>(test::builtIn("apple-silicon-laptop-2fan"), clock, 1, idleLoad());
    Exchange ex{*mac};

    void plan(FaultPlan faults) { mac->setFaults(std::move(faults)); }

    // The code of the callFailed an exchange throws, or none.
    std::optional<std::int32_t> failure() {
        const auto error = thrownError([&] { ex.info("TB0T"); });
        EXPECT_TRUE(!error || error->kind() == SMCError::Kind::callFailed);
        return error ? std::optional(error->code()) : std::nullopt;
    }
};

TEST_F(FaultTest, FailingCallsThrowForTheNextCallsOrAlwaysAndSlowCallsWaitInRealTime) {
    plan({.failingCalls = FaultPlan::FailingCalls{-536870212, 2}});
    EXPECT_EQ(failure(), -536870212);
    EXPECT_EQ(failure(), -536870212);
    EXPECT_EQ(failure(), std::nullopt);
    EXPECT_FALSE(mac->faults().failingCalls);

    plan({.failingCalls = FaultPlan::FailingCalls{-536870206, std::nullopt}});
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(failure(), -536870206);
    }
    plan({.failingCalls = FaultPlan::FailingCalls{-1, 0}});
    EXPECT_EQ(failure(), std::nullopt);

    plan({.callDelay = 0.05});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ex.info("TB0T").result, 0);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(50));
    EXPECT_LT(waited, std::chrono::seconds(5));
}

TEST_F(FaultTest, ResultOverridesAnswerOneCommandOnOneKey) {
    plan({.resultOverrides = {{{"TB0T", SMCCommand::readValue}, 133},
                              {{"F0Tg", SMCCommand::writeValue}, 134},
                              {{"PSTR", SMCCommand::keyInformation}, 132},
                              {{"#KEY", SMCCommand::keyByIndex}, 132}}});
    EXPECT_EQ(ex.info("TB0T").result, 0);
    EXPECT_EQ(ex.readRaw("TB0T", 4).result, 133);
    EXPECT_EQ(ex.readRaw("TB1T", 4).result, 0);
    EXPECT_EQ(ex.write("F0Tg", 3000), 134);
    EXPECT_EQ(ex.readRaw("F0Tg", 4).result, 0);
    EXPECT_EQ(ex.info("PSTR").result, 132);
    EXPECT_EQ(ex.atIndex(0).result, 132);
    EXPECT_EQ(ex.atIndex(1).result, 0);
}

TEST_F(FaultTest, VanishedKeysLeaveTheIndexAndTheCount) {
    const auto& keys = mac->profile().keys;
    const double before = ex.read("#KEY");
    plan({.vanishedKeys = {keys[1].name, "TB0T"}});
    EXPECT_EQ(ex.read("#KEY"), before - 2);
    EXPECT_EQ(FourCC::string(ex.atIndex(1).key), keys[2].name);
    EXPECT_EQ(ex.info("TB0T").result, 132);
    EXPECT_EQ(ex.readRaw("TB0T", 4).result, 132);
    EXPECT_EQ(ex.atIndex(static_cast<std::uint32_t>(before - 2)).result, 0xB8);
    plan({});
    EXPECT_EQ(ex.read("#KEY"), before);
    EXPECT_EQ(ex.info("TB0T").result, 0);
}

TEST_F(FaultTest, StalledAndObstructedFansFallShortOfTheirTargets) {
    plan({.stalledFans = {0}, .obstructedFans = {{1, 0.5}, {7, 0.1}}});
    for (int fan = 0; fan < 2; ++fan) {
        ASSERT_EQ(ex.write(fan == 0 ? "F0Md" : "F1Md", 1), 0);
        ASSERT_EQ(ex.write(fan == 0 ? "F0Tg" : "F1Tg", 6000), 0);
    }
    test::run(clock, *mac, 30.0, 1.0);
    EXPECT_EQ(ex.read("F0Ac"), 0.0);
    EXPECT_EQ(ex.read("F0Tg"), 6000.0);
    EXPECT_EQ(ex.read("F1Ac"), 3150.0); // half of 6300
    EXPECT_EQ(mac->fans()[1].target, 6000.0);

    plan({});
    clock.advance(30.0);
    EXPECT_EQ(ex.read("F0Ac"), 5800.0);
    EXPECT_EQ(ex.read("F1Ac"), 6000.0);
}

TEST_F(FaultTest, TransportsOpenUnlessTheControllerCannotBeOpened) {
    auto transport = openSimulatedTransport(mac);
    SMCParamStruct in;
    in.key = FourCC::code("FNum");
    in.data8 = static_cast<std::uint8_t>(SMCCommand::readValue);
    EXPECT_EQ(transport->call(in).bytes[0], 2);

    plan({.failingCalls = FaultPlan::FailingCalls{-536870212, 1}, .openFailure = -536870207});
    EXPECT_EQ(thrownError([&] { openSimulatedTransport(mac); }), SMCError::openFailed(-536870207));
    EXPECT_THROW(transport->call(in), SMCError) << "the open transport shares the machine's faults";
}

TEST_F(FaultTest, CountedFailuresAreSharedExactlyAmongThreads) {
    plan({.failingCalls = FaultPlan::FailingCalls{-1, 150}});
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            Exchange mine{*mac};
            for (int i = 0; i < 100; ++i) {
                try {
                    if (i % 2 == 0) {
                        mine.writeBytes(t % 2 == 0 ? "F0Tg" : "F1Tg", {0x00, 0x00, 0x7A, 0x45}); // 4000.0
                    } else {
                        mine.readRaw("TB0T", 4);
                    }
                } catch (const SMCError&) {
                    ++failures;
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 150);
    EXPECT_FALSE(mac->faults().failingCalls);
}

} // namespace
} // namespace halvoren
