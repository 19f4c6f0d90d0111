#include "engine/child_process.h"
#include "engine/simulated_helper_service_manager.h"
#include "process_test_support.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace halvoren {
namespace {

using Failure = HelperServiceManager::Failure;
using Status = HelperServiceStatus;

TEST_F(ProcessTest, WaitingOnAProcessAlreadyInTheAwaitedStateReturnsAtOnce) {
    QProcess process;
    process.start(script(QStringLiteral("idle"), "exec sleep 30"));
    ASSERT_TRUE(process.waitForStarted(5000));
    EXPECT_TRUE(run(awaitStarted(process, timers, 5.0)));
    EXPECT_FALSE(run(awaitFinished(process, timers, 0.05))); // still running when the time is up
    process.kill();
    ASSERT_TRUE(process.waitForFinished(5000));
    EXPECT_TRUE(run(awaitFinished(process, timers, 5.0)));
    EXPECT_FALSE(run(awaitStarted(process, timers, 5.0))); // gone: it will never start
}

class SimulatedServiceTest : public ProcessTest {
protected:
    SimulatedHelperServiceManager::Options options(const QString& helper) {
        return {.helperSocketPath = dir.filePath(QStringLiteral("helper.sock")),
                .smcSocketPath = dir.filePath(QStringLiteral("smc.sock")),
                .helperPath = helper,
                .startTimeout = 5.0,
                .stopGrace = 0.3};
    }
    // A stand-in helper: notes each start's arguments and its process id, runs `startup`, creates
    // its socket path (the second argument), then runs `rest`.
    QString helper(const QString& name, const std::string& startup = "",
                   const std::string& rest = "exec sleep 30") {
        const std::string here = dir.path().toStdString();
        return script(name, "echo \"$@\" >> \"" + here + "/starts\"\necho $$ > \"" + here + "/pid\"\n" +
                                startup + "\n: > \"$2\"\n" + rest);
    }
    pid_t helperPid() { return static_cast<pid_t>(std::stoi(read(QStringLiteral("pid")))); }
    std::size_t starts() {
        const auto text = read(QStringLiteral("starts"));
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }
    // Gone and reaped; the manager's process object notices while the loop runs.
    bool gone(pid_t pid) {
        return pumpUntil([&] { return ::kill(pid, 0) != 0; }, 5000);
    }
};

TEST_F(SimulatedServiceTest, RegistrationRunsTheHelperAsAChildProcess) {
    SimulatedHelperServiceManager services(timers, options(helper(QStringLiteral("helper"))));
    EXPECT_EQ(run(services.status()), Status::notRegistered);
    EXPECT_EQ(starts(), 0u) << "a status query never starts an unregistered helper";
    EXPECT_EQ(run(services.registerService()), Failure{});
    EXPECT_EQ(run(services.status()), Status::enabled);
    EXPECT_EQ(run(services.registerService()), Failure{}); // running already: no second child
    // It drives the simulator the application serves rather than simulating one itself.
    EXPECT_EQ(read(QStringLiteral("starts")),
              "--socket " + dir.filePath(QStringLiteral("helper.sock")).toStdString() + " --smc-socket " +
                  dir.filePath(QStringLiteral("smc.sock")).toStdString() + "\n");
    EXPECT_EQ(run(services.unregisterService()), Failure{});
    EXPECT_EQ(run(services.status()), Status::notRegistered);

    // One that ignores SIGTERM is killed once the grace period is over.
    SimulatedHelperServiceManager stubborn(
        timers, options(script(QStringLiteral("stubborn"), "trap '' TERM\n: > \"$2\"\nexec sleep 30")));
    EXPECT_EQ(run(stubborn.registerService()), Failure{});
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(run(stubborn.unregisterService()), Failure{});
    EXPECT_GE(elapsed.elapsed(), 300);
    EXPECT_EQ(run(stubborn.status()), Status::notRegistered);

    // A registration that cannot start is not kept.
    const auto absent = dir.filePath(QStringLiteral("absent"));
    SimulatedHelperServiceManager missing(timers, options(absent));
    EXPECT_EQ(run(missing.registerService()), "no helper executable at " + absent.toStdString());
    EXPECT_EQ(run(missing.status()), Status::notRegistered);
    SimulatedHelperServiceManager failing(timers, options(script(QStringLiteral("failing"), "exit 3")));
    EXPECT_EQ(run(failing.registerService()), "the helper exited at start with code 3");
    EXPECT_EQ(run(failing.status()), Status::notRegistered);
}

TEST_F(SimulatedServiceTest, ARegisteredHelperIsLaunchedAgainOnDemandUntilUnregistered) {
    // Once the marker file exists, the helper fails at start.
    const std::string marker = dir.filePath(QStringLiteral("broken")).toStdString();
    SimulatedHelperServiceManager services(
        timers, options(helper(QStringLiteral("helper"), "[ -e \"" + marker + "\" ] && exit 3")));
    ASSERT_EQ(run(services.registerService()), Failure{});
    const pid_t first = helperPid();
    ::kill(first, SIGKILL);
    ASSERT_TRUE(gone(first));
    EXPECT_EQ(run(services.status()), Status::enabled);
    EXPECT_EQ(starts(), 2u);
    const pid_t second = helperPid();
    EXPECT_NE(second, first);
    EXPECT_EQ(::kill(second, 0), 0) << "the relaunched helper runs";
    EXPECT_EQ(run(services.status()), Status::enabled);
    EXPECT_EQ(starts(), 2u) << "a running helper is not started again";

    // A registered helper that cannot be started any more is not found; registering again
    // tells why and is not kept.
    QFile(QString::fromStdString(marker)).open(QIODevice::WriteOnly);
    ::kill(second, SIGKILL);
    ASSERT_TRUE(gone(second));
    EXPECT_EQ(run(services.status()), Status::notFound);
    EXPECT_EQ(run(services.registerService()), "the helper exited at start with code 3");
    EXPECT_EQ(run(services.status()), Status::notRegistered);
    const std::size_t attempts = starts();

    // Unregistered, a dead helper stays dead.
    QFile::remove(QString::fromStdString(marker));
    ASSERT_EQ(run(services.registerService()), Failure{});
    const pid_t third = helperPid();
    EXPECT_EQ(run(services.unregisterService()), Failure{});
    EXPECT_TRUE(gone(third));
    EXPECT_EQ(run(services.status()), Status::notRegistered);
    EXPECT_EQ(starts(), attempts + 1);
}

#if defined(__linux__)
TEST_F(SimulatedServiceTest, AKilledApplicationTakesItsHelperDown) {
    const std::string terminated = dir.filePath(QStringLiteral("terminated")).toStdString();
    const QString path = helper(QStringLiteral("helper"), "trap 'echo > \"" + terminated + "\"; exit 0' TERM",
                                "while :; do sleep 0.05; done");
    // The application: registers the helper, then dies without a word.
    const pid_t application = ::fork();
    ASSERT_GE(application, 0);
    if (application == 0) {
        SimulatedHelperServiceManager services(timers, options(path));
        const bool registered = !run(services.registerService()).has_value();
        ::raise(registered ? SIGKILL : SIGABRT);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(application, &status, 0), application);
    ASSERT_TRUE(WIFSIGNALED(status));
    ASSERT_EQ(WTERMSIG(status), SIGKILL) << "the application could not register its helper";
    const bool followed =
        pumpUntil([&] { return QFileInfo::exists(QString::fromStdString(terminated)); }, 5000);
    EXPECT_TRUE(followed) << "the helper outlived the application that started it";
    if (!followed) {
        ::kill(helperPid(), SIGKILL); // an orphan would hold the test's output open
    }
}
#endif

} // namespace
} // namespace halvoren
