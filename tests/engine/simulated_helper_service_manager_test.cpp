#include "engine/simulated_helper_service_manager.h"
#include "process_test_support.h"

#include <QElapsedTimer>
#include <gtest/gtest.h>

namespace halvoren {
namespace {

using Failure = HelperServiceManager::Failure;
using Status = HelperServiceStatus;

class SimulatedServiceTest : public ProcessTest {
protected:
    SimulatedHelperServiceManager::Options options(const QString& helper) {
        return {.profile = QStringLiteral("apple-silicon-laptop-2fan"),
                .helperSocketPath = dir.filePath(QStringLiteral("helper.sock")),
                .smcSocketPath = dir.filePath(QStringLiteral("smc.sock")),
                .helperPath = helper,
                .startTimeout = 5.0,
                .stopGrace = 0.3};
    }
};

TEST_F(SimulatedServiceTest, RegistrationRunsTheHelperAsAChildProcess) {
    // A stand-in helper: notes each start and its arguments, creates its socket path, then waits.
    const auto helper = script(QStringLiteral("helper"), "echo \"$@\" >> \"" + dir.path().toStdString() +
                                                             "/starts\"\n: > \"$3\"\nexec sleep 30");
    SimulatedHelperServiceManager services(timers, options(helper));
    EXPECT_EQ(run(services.status()), Status::notRegistered);
    EXPECT_EQ(run(services.registerService()), Failure{});
    EXPECT_EQ(run(services.status()), Status::enabled);
    EXPECT_EQ(run(services.registerService()), Failure{}); // running already: no second child
    EXPECT_EQ(read(QStringLiteral("starts")),
              "--simulate=apple-silicon-laptop-2fan --socket " +
                  dir.filePath(QStringLiteral("helper.sock")).toStdString() + " --smc-socket " +
                  dir.filePath(QStringLiteral("smc.sock")).toStdString() + "\n");
    EXPECT_EQ(run(services.unregisterService()), Failure{});
    EXPECT_EQ(run(services.status()), Status::notRegistered);

    // One that ignores SIGTERM is killed once the grace period is over.
    SimulatedHelperServiceManager stubborn(
        timers, options(script(QStringLiteral("stubborn"), "trap '' TERM\n: > \"$3\"\nexec sleep 30")));
    EXPECT_EQ(run(stubborn.registerService()), Failure{});
    QElapsedTimer elapsed;
    elapsed.start();
    EXPECT_EQ(run(stubborn.unregisterService()), Failure{});
    EXPECT_GE(elapsed.elapsed(), 300);
    EXPECT_EQ(run(stubborn.status()), Status::notRegistered);

    const auto absent = dir.filePath(QStringLiteral("absent"));
    SimulatedHelperServiceManager missing(timers, options(absent));
    EXPECT_EQ(run(missing.registerService()), "no helper executable at " + absent.toStdString());
    SimulatedHelperServiceManager failing(timers, options(script(QStringLiteral("failing"), "exit 3")));
    EXPECT_EQ(run(failing.registerService()), "the helper exited at start with code 3");
    EXPECT_EQ(run(failing.status()), Status::notRegistered);
}

} // namespace
} // namespace halvoren
