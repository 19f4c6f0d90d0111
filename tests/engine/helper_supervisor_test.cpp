#include "engine/helper_supervisor.h"
#include "helper_link_fixture.h"

namespace halvoren {
namespace {

using Behaviour = FakeHelperDaemon::Behaviour;

class SupervisorTest : public HelperLinkTest {
protected:
    std::unique_ptr<SMCDriverActor> driver;
    std::unique_ptr<HelperSupervisor> supervisor;

    void SetUp() override {
        services.currentStatus = HelperServiceStatus::enabled;
        driver = std::make_unique<SMCDriverActor>(timers, daemon.path(), services,
                                                  [bridge = fake.bridge] { return bridge; });
        supervisor = std::make_unique<HelperSupervisor>(*driver, timers);
        driver->setConnectionLossHandler([this] { supervisor->helperConnectionLost(); });
    }
    void TearDown() override {
        // Let every pending call end (a silent helper's after its 4 s timeout), so that no
        // coroutine is left suspended when the objects go. No new refresh may start meanwhile.
        driver->setConnectionLossHandler({});
        for (int i = 0; i < 4; ++i) {
            timers.advance(5.0);
            pumpFor(20);
        }
        supervisor.reset();
        driver.reset();
        pumpFor(5);
    }
    bool connected() const { return supervisor->helperState().kind() == HelperState::Kind::connected; }
};

TEST_F(SupervisorTest, AnOlderAttemptsLateAnswerNeverOverwritesANewerOne) {
    driver->setConnectionLossHandler({}); // keep loss-driven refreshes out of the count
    // The first handshake is never answered; the second, sent on the same connection, is.
    daemon.setBehaviour(HelperMethod::heartbeat, Behaviour::never());
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return daemon.count(HelperMethod::heartbeat) == 1; }));
    daemon.setBehaviour(HelperMethod::heartbeat, Behaviour::after(0.0));
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return connected(); }));
    EXPECT_EQ(supervisor->helperStateGeneration(), 2);

    // The first attempt times out and resolves to a failed handshake, too late to count.
    timers.advance(4.5);
    pumpFor(50);
    EXPECT_TRUE(connected());
    EXPECT_EQ(logs.count("helper handshake failed: no reply from the helper within 4.0 seconds"), 1);
}

TEST_F(SupervisorTest, TickRefreshesAreDebouncedAndNeverOverlap) {
    // A daemon that accepts and never answers makes every state query take the full 4 s.
    daemon.setBehaviour(HelperMethod::heartbeat, Behaviour::never());
    supervisor->refreshHelperStateFromTick();
    EXPECT_EQ(supervisor->helperStateGeneration(), 1);
    timers.advance(1.9);
    supervisor->refreshHelperStateFromTick();
    EXPECT_EQ(supervisor->helperStateGeneration(), 1); // within 2 s
    timers.advance(0.1);
    supervisor->refreshHelperStateFromTick();
    EXPECT_EQ(supervisor->helperStateGeneration(), 1); // 2 s passed, but the first is still in flight

    timers.advance(2.0); // the handshake times out at 4 s and the first refresh commits
    ASSERT_TRUE(
        pumpUntil([&] { return supervisor->helperState().kind() == HelperState::Kind::unavailable; }));
    supervisor->refreshHelperStateFromTick();
    EXPECT_EQ(supervisor->helperStateGeneration(), 2);
}

TEST_F(SupervisorTest, ConnectionLossEventsOneSecondApartMakeOneRefresh) {
    supervisor->helperConnectionLost();
    timers.advance(1.0);
    supervisor->helperConnectionLost();
    EXPECT_EQ(supervisor->helperStateGeneration(), 1);
    timers.advance(1.0);
    supervisor->helperConnectionLost();
    EXPECT_EQ(supervisor->helperStateGeneration(), 2);
}

TEST_F(SupervisorTest, AnotherVersionIsBouncedOnceAndThenLeftInUse) {
    daemon.version = "1.1.0";
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return services.count("register") == 1; }));
    ASSERT_TRUE(pumpUntil([&] { return connected() && daemon.count(HelperMethod::heartbeat) >= 2; }));
    pumpFor(20);
    EXPECT_TRUE(supervisor->helperBounceAttempted());
    EXPECT_EQ(services.count("unregister"), 1);
    EXPECT_EQ(daemon.count(HelperMethod::helperVersion), 1);

    // The relaunched helper still differs: no second question, no second bounce.
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return connected(); }));
    pumpFor(20);
    EXPECT_EQ(daemon.count(HelperMethod::helperVersion), 1);
    EXPECT_EQ(services.count("unregister"), 1);
}

TEST_F(SupervisorTest, AVersionErrorCausesNoBounceAndNoSecondQuestion) {
    daemon.setBehaviour(HelperMethod::helperVersion, Behaviour::refusing("busy"));
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return connected() && daemon.count(HelperMethod::helperVersion) == 1; }));
    pumpFor(20);
    EXPECT_TRUE(supervisor->helperVersionChecked());
    EXPECT_FALSE(supervisor->helperBounceAttempted());
    supervisor->refreshHelperState();
    pumpFor(50);
    EXPECT_EQ(daemon.count(HelperMethod::helperVersion), 1);
    EXPECT_EQ(services.count("unregister"), 0);
}

} // namespace
} // namespace halvoren
