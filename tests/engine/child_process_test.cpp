#include "engine/child_process.h"
#include "process_test_support.h"

#include <QProcess>

namespace halvoren {
namespace {

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

} // namespace
} // namespace halvoren
