#include "engine/continuation_guard.h"

#include <gtest/gtest.h>
#include <memory>
#include <qcoro/qcorotask.h>
#include <stdexcept>

namespace halvoren {
namespace {

using Guard = ContinuationGuard<int>;

QCoro::Task<void> await(std::shared_ptr<Guard> guard, int& resumes, int& value) {
    try {
        value = co_await *guard;
    } catch (const std::runtime_error&) {
        value = -1;
    }
    ++resumes;
}

// The race of a reply and its timeout through the driver is in smc_driver_actor_test; these are the
// orders of events a driver call cannot produce on demand.
TEST(ContinuationGuard, ALateTimeoutIsCancelledAndACompletedGuardDoesNotSuspend) {
    ManualClock clock;
    ManualTimerSource timers(clock);
    auto guard = std::make_shared<Guard>();
    EXPECT_FALSE(guard->claim());
    guard->resume(3);
    EXPECT_TRUE(guard->claim());
    guard->attachTimeout(timers.schedule(1.0, [] { ADD_FAILURE() << "a late timeout fired"; }));
    EXPECT_EQ(timers.pendingCount(), 0U);
    int resumes = 0;
    int value = 0;
    [[maybe_unused]] auto task = await(guard, resumes, value);
    EXPECT_EQ(resumes, 1);
    EXPECT_EQ(value, 3);

    // A failure that wins the race resumes once; the losing reply is dropped.
    auto failing = std::make_shared<Guard>();
    int failures = 0;
    int failed = 0;
    [[maybe_unused]] auto waiting = await(failing, failures, failed);
    ASSERT_FALSE(failing->claim());
    failing->fail(std::runtime_error("timed out"));
    EXPECT_TRUE(failing->claim());
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(failed, -1);
}

} // namespace
} // namespace halvoren
