#include <QCoreApplication>
#include <gtest/gtest.h>

#include "engine/helper_supervisor.h"
#include "engine/smc_driver_actor.h"
#include "engine_test_support.h"
#include "fake_helper_daemon.h"
#include "fake_helper_service_manager.h"
#include "fakes/counting_transport.h"

namespace halvoren {
namespace {

using Behaviour = FakeHelperDaemon::Behaviour;

class SupervisorTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};
    LogCapture logs;
    ManualClock clock;
    ManualTimerSource timers{clock};
    FakeHelperDaemon daemon{timers};
    FakeHelperServiceManager services;
    FakeBridge fake = makeFakeBridge();
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
        supervisor.reset();
        driver.reset();
        pumpFor(5);
    }
    bool connected() const { return supervisor->helperState().kind() == HelperState::Kind::connected; }
};

TEST_F(SupervisorTest, AnOlderAttemptsLateAnswerNeverOverwritesANewerOne) {
    daemon.listen();
    // The first refresh's handshake hangs; the second is answered at once.
    daemon.setBehaviour(HelperMethod::heartbeat, Behaviour::after(3.0));
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return daemon.count(HelperMethod::heartbeat) == 1; }));
    daemon.setBehaviour(HelperMethod::heartbeat, Behaviour::after(0.0));
    daemon.stopListening();
    daemon.dropClients();
    EXPECT_EQ(supervisor->helperStateGeneration(), 1);
    supervisor->refreshHelperState();
    EXPECT_EQ(supervisor->helperStateGeneration(), 2);
    ASSERT_TRUE(pumpUntil([&] { return supervisor->helperState().kind() != HelperState::Kind::notRegistered; }));
    // With the daemon gone the second attempt reports the failed handshake, and the first,
    // which failed too, is dropped whatever it said.
    EXPECT_EQ(supervisor->helperState().kind(), HelperState::Kind::unavailable);
    timers.advance(5.0);
    pumpFor(20);
    EXPECT_EQ(supervisor->helperStateGeneration(), 2);
}

TEST_F(SupervisorTest, TickRefreshesAreDebouncedAndNeverOverlap) {
    // A daemon that accepts and never answers makes every state query take the full 4 s.
    daemon.listen();
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
    ASSERT_TRUE(pumpUntil([&] { return supervisor->helperState().kind() == HelperState::Kind::unavailable; }));
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
    EXPECT_EQ(logs.count("helper XPC connection lost — refreshing helper state"), 2);
}

TEST_F(SupervisorTest, AnotherVersionIsBouncedOnceAndThenLeftInUse) {
    daemon.listen();
    daemon.version = "1.1.0";
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return services.count("register") == 1; }));
    ASSERT_TRUE(pumpUntil([&] { return connected() && daemon.count(HelperMethod::heartbeat) >= 2; }));
    pumpFor(20);
    EXPECT_TRUE(supervisor->helperBounceAttempted());
    EXPECT_EQ(services.count("unregister"), 1);
    EXPECT_EQ(daemon.count(HelperMethod::helperVersion), 1);
    EXPECT_EQ(logs.count("resident helper 1.1.0 ≠ app 1.2.0 — relaunching daemon to load the updated binary"), 1);

    // The relaunched helper still differs: no second question, no second bounce.
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return connected(); }));
    pumpFor(20);
    EXPECT_EQ(daemon.count(HelperMethod::helperVersion), 1);
    EXPECT_EQ(services.count("unregister"), 1);
}

TEST_F(SupervisorTest, AVersionErrorCausesNoBounceAndNoSecondQuestion) {
    daemon.listen();
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

TEST_F(SupervisorTest, UninstallRestoresTheFansBeforeUnregistering) {
    daemon.listen();
    std::vector<std::string> order;
    services.onUnregister = [&] { order.emplace_back("unregister"); };
    supervisor->uninstallHelper([&]() -> QCoro::Task<void> {
        co_await driver->restoreAuto();
        order.emplace_back("restored");
    });
    ASSERT_TRUE(pumpUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order, (std::vector<std::string>{"restored", "unregister"}));
}

} // namespace
} // namespace halvoren
