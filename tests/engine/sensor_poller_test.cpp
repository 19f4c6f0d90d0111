#include "core/fan_key.h"
#include "engine/sensor_poller.h"
#include "engine_test_support.h"
#include "fakes/counting_transport.h"
#include "platform/clock.h"
#include "smc/hid_sensor_source.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

using Flt = SMCDataType::Kind;

// A two-fan machine with two temperatures and one power key.
FakeBridge twoFanMachine() {
    auto machine = makeFakeBridge();
    machine.fake->setValue("TC0P", Flt::sp78, 50.0);
    machine.fake->setValue("PSTR", Flt::flt, 12.5);
    machine.fake->setValue("Tg0f", Flt::flt, 44.0);
    machine.fake->setValue("FNum", Flt::ui8, 2);
    for (int fan = 0; fan < 2; ++fan) {
        machine.fake->setValue(FanKey::current(fan), Flt::flt, 1800 + fan);
        machine.fake->setValue(FanKey::minimum(fan), Flt::flt, 1200);
        machine.fake->setValue(FanKey::maximum(fan), Flt::flt, 5800);
        machine.fake->setValue(FanKey::target(fan), Flt::flt, 1800);
        machine.fake->setValue(FanKey::mode(fan), Flt::ui8, 0);
    }
    return machine;
}

// The machine above, and HID sources that count how often they are made. Asynchronous polls
// come back through the event loop.
class SensorPollerTest : public ::testing::Test {
protected:
    SensorPoller::HIDSourceFactory factory() {
        return [this] {
            ++hidMade;
            return std::make_unique<HIDSensorSource>([] {
                return std::vector<std::pair<std::string, double>>{{"PMU tdie3", 48.0}, {"PMU tdie3", 52.0}};
            });
        };
    }

    int argc = 0;
    QCoreApplication app{argc, nullptr};
    int hidMade = 0;
    ManualClock clock;
    FakeBridge machine = twoFanMachine();
    SensorPoller poller{machine.bridge, clock, factory()};
};

TEST_F(SensorPollerTest, WithoutABridgeEveryPollIsEmptyAndNoHIDSourceIsMade) {
    SensorPoller poller(nullptr, clock, factory());
    poller.pollNow();
    clock.advance(1.0);
    const auto snapshot = poller.pollNow();
    EXPECT_TRUE(snapshot.allSensors.empty());
    EXPECT_TRUE(snapshot.fans.empty());
    EXPECT_FALSE(snapshot.smcAvailable);
    EXPECT_FALSE(snapshot.sensorsRefreshed);
    EXPECT_EQ(hidMade, 0);
}

TEST_F(SensorPollerTest, SweepsAtMostOncePerSecondWhileFansAreReadEveryPoll) {
    const auto first = poller.pollNow();
    EXPECT_TRUE(first.smcAvailable);
    EXPECT_TRUE(first.sensorsRefreshed);
    ASSERT_EQ(first.temperatures.size(), 2U);
    EXPECT_EQ(first.temperatures[0].key, "TC0P");
    EXPECT_EQ(first.temperatures[1].key, "Tg0f");
    // Controller sensors of every class in index order (fan speeds included), then the HID
    // ones (the median of the two readings).
    ASSERT_EQ(first.allSensors.size(), 6U);
    EXPECT_EQ(first.allSensors[1].key, "PSTR");
    EXPECT_EQ(first.allSensors[3].key, "F0Ac");
    EXPECT_EQ(first.allSensors[5].key, "hid:PMU tdie3");
    EXPECT_EQ(first.allSensors[5].name, "Die Sensor 3");
    EXPECT_DOUBLE_EQ(first.allSensors[5].currentTemp, 50.0);
    ASSERT_EQ(first.fans.size(), 2U);
    EXPECT_DOUBLE_EQ(first.fans[1].currentRPM, 1801.0);

    // Half a second later: no sweep and no sensors, but the fans read anew.
    machine.fake->setValue("TC0P", Flt::sp78, 60.0);
    machine.fake->setValue(FanKey::current(0), Flt::flt, 2500);
    clock.advance(0.5);
    machine.fake->resetCounts();
    const auto second = poller.pollNow();
    EXPECT_FALSE(second.sensorsRefreshed);
    EXPECT_TRUE(second.temperatures.empty());
    EXPECT_TRUE(second.allSensors.empty());
    EXPECT_DOUBLE_EQ(second.fans[0].currentRPM, 2500.0);
    // Between sweeps a poll costs the fan count plus five reads per fan, all with cached key information.
    EXPECT_EQ(machine.fake->totalCalls(), 1 + 5 * 2);
    EXPECT_EQ(machine.fake->calls(SMCCommand::keyInformation), 0);

    // Exactly one second after the last sweep is due again.
    clock.advance(0.5);
    const auto third = poller.pollNow();
    EXPECT_TRUE(third.sensorsRefreshed);
    EXPECT_DOUBLE_EQ(third.temperatures[0].currentTemp, 60.0);
    EXPECT_EQ(hidMade, 1); // made once, on first use
}

TEST_F(SensorPollerTest, DiscoveryRepeatsUntilItYieldsSomething) {
    machine.fake->failEveryCall(-536870212);
    const auto failed = poller.pollNow();
    EXPECT_TRUE(failed.smcAvailable);
    EXPECT_TRUE(failed.temperatures.empty());
    EXPECT_TRUE(failed.fans.empty());

    // The controller answers again before the next sweep is due: discovery runs on this
    // poll anyway, and its values wait for the next sweep.
    machine.fake->clearFailures();
    clock.advance(0.2);
    const auto recovered = poller.pollNow();
    EXPECT_FALSE(recovered.sensorsRefreshed);
    EXPECT_EQ(recovered.fans.size(), 2U);
    clock.advance(0.8);
    EXPECT_EQ(poller.pollNow().temperatures.size(), 2U);

    // Once something was discovered, the walk is never repeated.
    machine.fake->resetCounts();
    clock.advance(1.0);
    poller.pollNow();
    EXPECT_EQ(machine.fake->calls(SMCCommand::keyByIndex), 0);
}

TEST_F(SensorPollerTest, WarmUpDiscoversOnTheWorkerAheadOfTheFirstSnapshot) {
    SensorPoller::Snapshot result;
    int walksAfterWarmUp = -1;
    auto run = [&]() -> QCoro::Task<> {
        co_await poller.warmUp();
        machine.fake->resetCounts();
        result = co_await poller.snapshot();
        walksAfterWarmUp = machine.fake->calls(SMCCommand::keyByIndex);
    };
    const auto done = begin(run());
    ASSERT_TRUE(pumpUntil([&] { return done->done(); }));
    EXPECT_EQ(walksAfterWarmUp, 0);
    EXPECT_TRUE(result.sensorsRefreshed);
    EXPECT_EQ(result.temperatures.size(), 2U);
    EXPECT_EQ(result.fans.size(), 2U);
}

TEST_F(SensorPollerTest, CheapPollsStayOnTheCallingThreadAndSlowOnesGoBackToTheWorker) {
    // Limits far from the fake's real cost, so that a loaded machine cannot change the verdicts.
    SensorPoller poller(machine.bridge, clock, factory(), std::chrono::milliseconds(50));
    const std::thread::id here = std::this_thread::get_id();
    std::vector<bool> onCaller;
    auto run = [&]() -> QCoro::Task<> {
        // Fan polls within the second, then a sweep, then fan polls of a slow controller.
        for (int poll = 0; poll < 7; ++poll) {
            if (poll == 3) {
                clock.advance(SensorPoller::sweepInterval);
            }
            if (poll == 5) {
                machine.fake->setDelay(std::chrono::milliseconds(10));
            }
            co_await poller.snapshot();
            onCaller.push_back(machine.fake->lastThread() == here);
        }
    };
    const auto done = begin(run());
    ASSERT_TRUE(pumpUntil([&] { return done->done(); }));
    // Nothing is known before the first poll with a sweep and the first without; the second sweep
    // follows a cheap first; the slow poll still runs in place, the one after it hops.
    EXPECT_EQ(onCaller, (std::vector<bool>{false, false, true, true, true, true, false}));
}

} // namespace
} // namespace halvoren
