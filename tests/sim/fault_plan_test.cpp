#include "../smc/smc_test_support.h"
#include "core/four_cc.h"
#include "sim/simulated_smc_transport.h"
#include "sim_test_support.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace halvoren {
namespace {

using test::Exchange;

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

TEST_F(FaultTest, FailingCallsThrowForTheNextCallsOrAlways) {
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
}

TEST_F(FaultTest, SlowCallsWaitInRealTime) {
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
