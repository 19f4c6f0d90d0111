#include "engine/continuation_guard.h"
#include "engine/helper_exit_safety.h"
#include "engine/helper_supervisor.h"
#include "helper_link_fixture.h"

namespace halvoren {
namespace {

using Kind = SMCDataType::Kind;
using Behaviour = FakeHelperDaemon::Behaviour;

constexpr const char* restartedLine =
    "helper daemon restarted (uptime reset) — manual state must be re-engaged";

class DriverTest : public HelperLinkTest {
protected:
    int factoryCalls = 0;
    int losses = 0;
    std::unique_ptr<SMCDriverActor> driver;

    void SetUp() override {
        fake.fake->setValue("FNum", Kind::ui8, 2);
        for (const auto& [key, rpm] :
             {std::pair{"F0Mn", 1200.0}, {"F0Mx", 6000.0}, {"F1Mn", 1000.0}, {"F1Mx", 5000.0}}) {
            fake.fake->setValue(key, Kind::fpe2, rpm);
        }
        makeDriver();
    }

    void TearDown() override {
        driver.reset();
        pumpFor(5);
    }

    void makeDriver(const SMCDriverActor::BridgeFactory& factory) {
        driver.reset();
        driver = std::make_unique<SMCDriverActor>(timers, daemon.path(), services, [this, factory] {
            ++factoryCalls;
            return factory();
        });
        driver->setConnectionLossHandler([this] { ++losses; });
    }
    void makeDriver() {
        makeDriver([bridge = fake.bridge] { return bridge; });
    }

    template <class T>
    auto finish(QCoro::Task<T>&& task) {
        auto call = begin(std::move(task));
        EXPECT_TRUE(pumpUntil([&] { return call->done(); }));
        return call;
    }
    void waitForRequests(std::size_t n) {
        EXPECT_TRUE(pumpUntil([&] { return daemon.requests.size() >= n; }));
    }
};

bool timedOut(const std::optional<DriverFailure>& failure) {
    return failure && failure->is(DriverError::timedOut);
}

TEST_F(DriverTest, AReplyAndItsTimeoutRaceAndExactlyOneCompletesTheCall) {
    daemon.setBehaviour(HelperMethod::helperVersion, Behaviour::after(3.9));
    auto early = begin(driver->daemonVersion());
    waitForRequests(1);
    timers.advance(3.9);
    ASSERT_TRUE(pumpUntil([&] { return early->done(); }));
    EXPECT_EQ(early->value, "1.2.0");
    EXPECT_EQ(timers.pendingCount(), 0U); // the reply cancelled the timeout
    timers.advance(1.0);
    pumpFor(20);
    EXPECT_EQ(early->completions, 1);
    EXPECT_EQ(losses, 0);

    daemon.setBehaviour(HelperMethod::helperVersion, Behaviour::after(4.1));
    auto late = begin(driver->daemonVersion());
    waitForRequests(2);
    EXPECT_EQ(daemon.connections, 1);
    timers.advance(4.0);
    ASSERT_TRUE(timedOut(late->failure));
    EXPECT_EQ(late->failure->message(), "no reply from the helper within 4.0 seconds");
    timers.advance(0.1); // the reply goes out to a connection already torn down
    ASSERT_TRUE(pumpUntil([&] { return losses > 0; }));
    pumpFor(20);
    EXPECT_EQ(late->completions, 1);
    EXPECT_EQ(losses, 1);
}

TEST_F(DriverTest, ASilentHelperIsLostOnceAndOlderTimeoutsLeaveANewConnectionAlone) {
    daemon.setBehaviour(HelperMethod::helperVersion, Behaviour::never());
    const std::shared_ptr<Completion<std::string>> calls[] = {
        begin(driver->daemonVersion()), begin(driver->daemonVersion()), begin(driver->daemonVersion())};
    waitForRequests(3);
    timers.advance(3.99);
    EXPECT_TRUE(std::ranges::none_of(calls, [](const auto& call) { return call->done(); }));
    timers.advance(0.01);
    EXPECT_TRUE(std::ranges::all_of(calls, [](const auto& call) { return timedOut(call->failure); }));
    pumpFor(20);
    EXPECT_EQ(losses, 1);

    // `first` times out and replaces the connection that `second` still waits on.
    auto first = begin(driver->daemonVersion());
    waitForRequests(4);
    timers.advance(1.0);
    auto second = begin(driver->daemonVersion());
    waitForRequests(5);
    EXPECT_EQ(daemon.connections, 2);
    timers.advance(3.0);
    EXPECT_TRUE(timedOut(first->failure));
    // A new connection opens before the torn-down one's invalidation notice arrives; the notice
    // then names a connection that is no longer current and changes nothing.
    const auto beat = begin(driver->heartbeat());
    ASSERT_TRUE(pumpUntil([&] { return beat->done() && losses == 2; }));
    ASSERT_TRUE(beat->value);
    EXPECT_EQ(daemon.connections, 3);
    ASSERT_TRUE(pumpUntil([&] { return logs.count("helper XPC connection invalidated") == 2; }));

    timers.advance(1.0);
    EXPECT_TRUE(timedOut(second->failure));
    pumpFor(20);
    EXPECT_EQ(losses, 2);
    ASSERT_TRUE(finish(driver->heartbeat())->value);
    EXPECT_EQ(daemon.connections, 3);
}

TEST_F(DriverTest, TheHelperGoingAwayFailsWaitingCallsAtOnceWhileItsErrorsKeepTheLink) {
    ASSERT_TRUE(finish(driver->heartbeat())->value);
    daemon.setBehaviour(HelperMethod::helperVersion, Behaviour::never());
    auto waiting = begin(driver->daemonVersion());
    waitForRequests(2);
    const double before = clock.monotonicNow();
    daemon.dropClients();
    ASSERT_TRUE(pumpUntil([&] { return waiting->done() && losses == 1; }));
    EXPECT_EQ(clock.monotonicNow(), before);
    EXPECT_EQ(waiting->failure, DriverFailure::linkFailed("the helper closed the connection"));
    EXPECT_EQ(logs.count("helper XPC connection interrupted"), 1);

    daemon.setBehaviour(HelperMethod::helperVersion, Behaviour::refusing("version unavailable"));
    EXPECT_EQ(finish(driver->daemonVersion())->failure, DriverFailure::helperRefused("version unavailable"));
    EXPECT_TRUE(finish(driver->restoreAuto())->value);
    EXPECT_EQ(daemon.connections, 2);

    // A reply whose id cannot be read poisons the connection: the waiting call fails at once.
    daemon.setBehaviour(HelperMethod::helperVersion, Behaviour::never());
    auto garbled = begin(driver->daemonVersion());
    waitForRequests(5);
    daemon.sendToClients(R"({"uptime":1})");
    ASSERT_TRUE(pumpUntil([&] { return garbled->done() && losses == 2; }));
    EXPECT_EQ(garbled->failure->message(), "reply without a readable id from the helper");
    EXPECT_EQ(logs.count("helper XPC connection invalidated"), 1);
    pumpFor(20);
    EXPECT_EQ(losses, 2);
}

TEST_F(DriverTest, AFailedHandshakeResolvesThroughTheServiceStatus) {
    EXPECT_EQ(finish(driver->currentState())->value, HelperState::connected());
    EXPECT_EQ(services.count("status"), 0); // a working link needs no other proof

    makeDriver();
    daemon.stopListening();
    const double before = clock.monotonicNow();
    services.currentStatus = HelperServiceStatus::enabled;
    const auto failed = finish(driver->currentState());
    const auto missing =
        HelperState::unavailable("helper handshake failed: cannot connect to the helper at " +
                                 daemon.path().toStdString() + " (no such socket)");
    EXPECT_EQ(failed->value, missing);
    for (const auto& [status, state] :
         {std::pair{HelperServiceStatus::requiresApproval, HelperState::requiresApproval()},
          std::pair{HelperServiceStatus::notRegistered, HelperState::notRegistered()},
          std::pair{HelperServiceStatus::notFound, HelperState::notRegistered()}}) {
        services.currentStatus = status;
        EXPECT_EQ(finish(driver->currentState())->value, state);
    }
    EXPECT_EQ(clock.monotonicNow(), before); // a refused connection is no reason to wait

    daemon.listen();
    daemon.setBehaviour(HelperMethod::heartbeat, Behaviour::refusing("not permitted"));
    services.currentStatus = HelperServiceStatus::enabled;
    EXPECT_EQ(finish(driver->currentState())->value,
              HelperState::unavailable("helper handshake failed: not permitted"));

    // A helper that accepts and never answers costs the whole timeout.
    daemon.setBehaviour(HelperMethod::heartbeat, Behaviour::never());
    services.currentStatus = HelperServiceStatus::notRegistered;
    const int beats = daemon.count(HelperMethod::heartbeat);
    auto silent = begin(driver->currentState());
    ASSERT_TRUE(pumpUntil([&] { return daemon.count(HelperMethod::heartbeat) == beats + 1; }));
    timers.advance(3.99);
    EXPECT_FALSE(silent->done());
    timers.advance(0.01);
    ASSERT_TRUE(silent->done());
    EXPECT_EQ(silent->value, HelperState::notRegistered());
}

TEST_F(DriverTest, TheExitHookIsInstalledOnceAndRestoresOverTheCurrentConnection) {
    const int before = HelperExitSafety::registrations();
    makeDriver([] { return std::shared_ptr<SMCKernelBridge>(); });
    EXPECT_EQ(finish(driver->currentState())->value, HelperState::unavailable("cannot open AppleSMC"));
    EXPECT_EQ(HelperExitSafety::registrations(), before);
    EXPECT_EQ(daemon.connections, 0);

    {
        SMCDriverActor other(timers, daemon.path(), services, [this] { return fake.bridge; });
        EXPECT_EQ(finish(other.currentState())->value, HelperState::connected());
    }
    makeDriver();
    EXPECT_EQ(finish(driver->currentState())->value, HelperState::connected());
    EXPECT_EQ(finish(driver->currentState())->value, HelperState::connected());
    EXPECT_EQ(HelperExitSafety::registrations(), 1);

    EXPECT_TRUE(HelperExitSafety::sendRestore());
    ASSERT_TRUE(pumpUntil([&] { return daemon.count(HelperMethod::restoreAutomaticControl) == 1; }));
    EXPECT_EQ(daemon.requests.back().id, 0U);

    services.onUnregister = [this] {
        daemon.stopListening();
        daemon.dropClients();
    };
    EXPECT_EQ(finish(driver->unregisterHelper())->value, HelperState::notRegistered());
    EXPECT_FALSE(HelperExitSafety::sendRestore()); // no connection left to use
}

TEST_F(DriverTest, HeartbeatsDetectARestartedHelperByItsUptime) {
    daemon.setUptimes({105.0, 100.0, 100.0, 100.5, 50.0});
    ASSERT_EQ(finish(driver->handshake())->value, HelperState::connected());
    const auto dropped = finish(driver->heartbeat());
    ASSERT_TRUE(dropped->value);
    EXPECT_TRUE(dropped->value->uptime == 100.0 && dropped->value->restarted);
    EXPECT_FALSE(finish(driver->heartbeat())->value->restarted); // equal
    EXPECT_FALSE(finish(driver->heartbeat())->value->restarted); // grown
    EXPECT_EQ(logs.count(restartedLine), 1);

    // The loop beats every 2.5 seconds from the handshake on.
    timers.advance(2.49);
    pumpFor(20);
    EXPECT_EQ(daemon.count(HelperMethod::heartbeat), 4);
    timers.advance(0.01);
    ASSERT_TRUE(pumpUntil([&] { return logs.count(restartedLine) == 2; })); // 50 after 100.5

    daemon.setBehaviour(HelperMethod::heartbeat, Behaviour::refusing("busy"));
    timers.advance(2.5);
    ASSERT_TRUE(pumpUntil([&] { return logs.count("heartbeat failed: busy") == 1; }));
    timers.advance(2.5); // the loop goes on after a failure
    ASSERT_TRUE(pumpUntil([&] { return logs.count("heartbeat failed: busy") == 2; }));

    // It ends with its connection.
    daemon.dropClients();
    ASSERT_TRUE(pumpUntil([&] { return losses == 1; }));
    timers.advance(10.0);
    pumpFor(20);
    EXPECT_EQ(daemon.count(HelperMethod::heartbeat), 7);
    EXPECT_EQ(timers.pendingCount(), 0U);
}

TEST_F(DriverTest, WritesAreCheckedBeforeTheyAreSentAndGoOutAsGiven) {
    fake.fake->failCall("F1Mn", SMCCommand::readValue, -536870212);
    makeDriver();
    EXPECT_EQ(finish(driver->setTargetRPM(2, 2000.0))->failure,
              DriverFailure("com.halvoren.driver", 1002, "fan index 2 out of range"));
    EXPECT_EQ(finish(driver->setTargetRPM(0, -5.0))->failure,
              DriverFailure("com.halvoren.driver", 1001, "rejected: non-finite or negative RPM -5.0"));
    EXPECT_EQ(daemon.connections, 0);

    // The helper, not the driver, clamps.
    EXPECT_EQ(finish(driver->setTargetRPM(0, 99999.0))->value, 99999.0);
    EXPECT_EQ(daemon.requests.back(),
              (HelperRequest{
                  .id = daemon.requests.back().id, .method = HelperMethod::setTargetRPM, .rpm = 99999.0}));
    // An unreadable limit doesn't block a write, but the request is still vetted on its own.
    EXPECT_EQ(finish(driver->setTargetRPM(1, 1500.0))->value, 1500.0);
    EXPECT_EQ(daemon.requests.back().fan, 1);
    EXPECT_EQ(finish(driver->setTargetRPM(1, -1.0))->failure->code(), 1001);

    // The fan count and known limits are read once.
    fake.fake->resetCounts();
    EXPECT_EQ(finish(driver->setTargetRPM(0, 3000.0))->value, 3000.0);
    EXPECT_EQ(fake.fake->totalCalls(), 0);

    // A changed target goes out at once. An unchanged one goes out again a second after it was
    // sent if no poll was shown since, or if one found the fan released or at another target;
    // also after a hand-back or on a new connection.
    const auto poll = [&](bool managed, double target) {
        driver->observeFans({FanStatus{.id = 0, .targetRPM = target, .isManaged = managed},
                             FanStatus{.id = 1, .isManaged = false}});
    };
    // How many requests a write of `rpm` to fan 0 sent; it is answered with `rpm` either way.
    const auto sends = [&](double rpm) {
        const std::size_t before = daemon.requests.size();
        EXPECT_EQ(finish(driver->setTargetRPM(0, rpm))->value, rpm);
        return daemon.requests.size() - before;
    };
    const auto interval = SMCDriverActor::targetRefreshInterval;
    EXPECT_EQ(sends(3000.0), 0U);
    EXPECT_EQ(sends(3001.0), 1U);
    clock.advance(interval);
    EXPECT_EQ(sends(3001.0), 1U);
    poll(true, 3001.75); // a key that rounds still holds it
    clock.advance(10 * interval);
    EXPECT_EQ(sends(3001.0), 0U);
    poll(false, 3001.0); // the firmware took it back
    EXPECT_EQ(sends(3001.0), 1U);
    poll(true, 2500.0); // another program's target, within a second of the last write
    poll(true, 3001.0); // one poll that found it moved is enough
    EXPECT_EQ(sends(3001.0), 0U);
    clock.advance(interval);
    EXPECT_EQ(sends(3001.0), 1U);
    finish(driver->restoreAuto());
    EXPECT_EQ(sends(3001.0), 1U);

    daemon.setBehaviour(HelperMethod::setTargetRPM, Behaviour::refusing("fan 0 is stalled"));
    EXPECT_EQ(finish(driver->setTargetRPM(0, 3000.0))->failure,
              DriverFailure::helperRefused("fan 0 is stalled"));
    EXPECT_EQ(daemon.connections, 1);
}

TEST_F(DriverTest, ReopenUsesTheFactoryOnlyWithoutABridgeAndStartsTheCachesAfresh) {
    EXPECT_EQ(driver->reopenBridgeIfNeeded(), fake.bridge);
    EXPECT_EQ(factoryCalls, 1);

    std::shared_ptr<SMCKernelBridge> next;
    makeDriver([&next] { return next; });
    EXPECT_EQ(finish(driver->setTargetRPM(0, 2000.0))->failure->message(), "fan index 0 out of range");
    EXPECT_EQ(driver->reopenBridgeIfNeeded(), nullptr);
    next = fake.bridge;
    EXPECT_EQ(driver->reopenBridgeIfNeeded(), fake.bridge);
    EXPECT_EQ(driver->sharedBridge(), nullptr); // fixed at creation
    EXPECT_EQ(finish(driver->setTargetRPM(0, 2000.0))->value, 2000.0);
    EXPECT_EQ(finish(driver->currentState())->value, HelperState::connected());
    EXPECT_EQ(factoryCalls, 1 + 3);
}

TEST_F(DriverTest, RegistrationGoesThroughTheServiceManagerAndRestoresBeforeLetGo) {
    daemon.stopListening();
    services.onRegister = [this] { daemon.listen(); };
    services.onUnregister = [this] {
        daemon.stopListening();
        daemon.dropClients();
    };
    makeDriver();
    services.registerFailure = "authorisation denied";
    EXPECT_EQ(finish(driver->registerHelper())->value,
              HelperState::unavailable("register failed: authorisation denied"));
    EXPECT_EQ(logs.count("SMAppService register failed: authorisation denied"), 1);
    services.registerFailure.reset();
    EXPECT_EQ(finish(driver->registerHelper())->value, HelperState::connected());

    services.calls.clear();
    EXPECT_EQ(finish(driver->registerHelper())->value, HelperState::connected());
    EXPECT_EQ(services.calls, std::vector<std::string>{"status"}); // enabled already: no second register

    const auto sent = daemon.requests.size();
    EXPECT_EQ(finish(driver->unregisterHelper())->value, HelperState::notRegistered());
    ASSERT_GT(daemon.requests.size(), sent);
    EXPECT_EQ(daemon.requests[sent].method, HelperMethod::restoreAutomaticControl);
    EXPECT_EQ(services.calls, (std::vector<std::string>{"status", "unregister", "status"}));

    services.calls.clear();
    daemon.listen(); // an old helper still running unregistered
    EXPECT_EQ(finish(driver->bounceHelper())->value, HelperState::connected());
    EXPECT_EQ(services.calls, (std::vector<std::string>{"unregister", "status", "register"}));
    EXPECT_EQ(daemon.count(HelperMethod::restoreAutomaticControl), 2);

    services.unregisterFailure = "unit busy";
    finish(driver->unregisterHelper());
    EXPECT_EQ(logs.count("SMAppService unregister failed: unit busy"), 1);
    driver->openLoginItemsSettings();
    EXPECT_EQ(services.count("approval"), 1);
}

class SupervisorTest : public DriverTest {
protected:
    std::unique_ptr<HelperSupervisor> supervisor;

    void SetUp() override {
        DriverTest::SetUp();
        services.currentStatus = HelperServiceStatus::enabled;
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
        DriverTest::TearDown();
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

TEST_F(SupervisorTest, AnotherVersionIsBouncedOnceAndAVersionErrorNotAtAll) {
    daemon.version = "1.1.0";
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return services.count("register") == 1; }));
    ASSERT_TRUE(pumpUntil([&] { return connected() && daemon.count(HelperMethod::heartbeat) >= 2; }));
    pumpFor(20);
    EXPECT_TRUE(supervisor->helperBounceAttempted());
    EXPECT_EQ(services.count("unregister"), 1);

    // The relaunched helper still differs: no second question, no second bounce.
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return connected(); }));
    pumpFor(20);
    EXPECT_EQ(daemon.count(HelperMethod::helperVersion), 1);
    EXPECT_EQ(services.count("unregister"), 1);

    // A fresh supervisor whose question is refused: no bounce, and it is not asked again.
    supervisor = std::make_unique<HelperSupervisor>(*driver, timers);
    daemon.setBehaviour(HelperMethod::helperVersion, Behaviour::refusing("busy"));
    supervisor->refreshHelperState();
    ASSERT_TRUE(pumpUntil([&] { return connected() && daemon.count(HelperMethod::helperVersion) == 2; }));
    pumpFor(20);
    EXPECT_TRUE(supervisor->helperVersionChecked());
    EXPECT_FALSE(supervisor->helperBounceAttempted());
    supervisor->refreshHelperState();
    pumpFor(50);
    EXPECT_EQ(daemon.count(HelperMethod::helperVersion), 2);
    EXPECT_EQ(services.count("unregister"), 1);
}

QCoro::Task<int> awaitGuard(std::shared_ptr<ContinuationGuard<int>> guard) {
    co_return co_await *guard;
}

// The race of a reply and its timeout through the driver is tested above; these are the orders of
// events a driver call cannot produce on demand.
TEST_F(HelperLinkTest, AGuardDecidedBeforeItsTimeoutCancelsItAndOneAwaitedFirstResumesOnce) {
    auto guard = std::make_shared<ContinuationGuard<int>>();
    EXPECT_FALSE(guard->claim());
    guard->resume(3);
    EXPECT_TRUE(guard->claim());
    guard->attachTimeout(timers.schedule(1.0, [] { ADD_FAILURE() << "a late timeout fired"; }));
    EXPECT_EQ(timers.pendingCount(), 0U);
    const auto completed = begin(awaitGuard(guard)); // does not suspend
    EXPECT_EQ(completed->completions, 1);
    EXPECT_EQ(completed->value, 3);

    // A failure that wins the race resumes once; the losing reply is dropped.
    auto failing = std::make_shared<ContinuationGuard<int>>();
    const auto waiting = begin(awaitGuard(failing));
    ASSERT_FALSE(failing->claim());
    failing->fail(DriverFailure::of(DriverError::timedOut));
    EXPECT_TRUE(failing->claim());
    EXPECT_EQ(waiting->completions, 1);
    EXPECT_TRUE(timedOut(waiting->failure));
}

} // namespace
} // namespace halvoren
