#include "engine/continuation_guard.h"

#include <gtest/gtest.h>
#include <memory>
#include <qcoro/qcorotask.h>
#include <stdexcept>

namespace halvoren {
namespace {

using Guard = ContinuationGuard<int>;

QCoro::Task<void> await(std::shared_ptr<Guard> guard, int& resumes, int& value, std::string& error) {
    try {
        value = co_await *guard;
    } catch (const std::runtime_error& e) {
        error = e.what();
    }
    ++resumes;
}

// The two competitors of a call: a reply and a timeout, each claiming before it completes.
struct Race {
    ManualClock clock;
    ManualTimerSource timers{clock};
    std::shared_ptr<Guard> guard = std::make_shared<Guard>();
    int resumes = 0;
    int value = 0;
    std::string error;

    Race() {
        guard->attachTimeout(timers.schedule(4.0, [g = guard] {
            if (!g->claim()) {
                g->fail(std::runtime_error("timed out"));
            }
        }));
        [[maybe_unused]] auto task = await(guard, resumes, value, error);
    }
    void reply(int v) {
        if (!guard->claim()) {
            guard->resume(v);
        }
    }
};

TEST(ContinuationGuard, WhicheverClaimsFirstCompletesTheCallAlone) {
    Race replyFirst;
    replyFirst.timers.advance(3.9);
    replyFirst.reply(7);
    EXPECT_EQ(replyFirst.resumes, 1);
    EXPECT_EQ(replyFirst.value, 7);
    EXPECT_EQ(replyFirst.timers.pendingCount(), 0U); // the claim cancelled the timeout
    replyFirst.timers.advance(10.0);
    EXPECT_EQ(replyFirst.resumes, 1);
    EXPECT_TRUE(replyFirst.error.empty());

    Race timeoutFirst;
    timeoutFirst.timers.advance(4.0);
    EXPECT_EQ(timeoutFirst.resumes, 1);
    EXPECT_EQ(timeoutFirst.error, "timed out");
    timeoutFirst.reply(7); // late: dropped
    EXPECT_EQ(timeoutFirst.resumes, 1);
    EXPECT_EQ(timeoutFirst.value, 0);
}

TEST(ContinuationGuard, CompletedBeforeAwaitOrTimeoutAttachedAfterTheRace) {
    ManualClock clock;
    ManualTimerSource timers(clock);
    auto guard = std::make_shared<Guard>();
    EXPECT_FALSE(guard->claim());
    guard->resume(3);
    EXPECT_TRUE(guard->claim());
    // A timeout attached once the race is decided is cancelled at once.
    guard->attachTimeout(timers.schedule(1.0, [] { ADD_FAILURE() << "a late timeout fired"; }));
    EXPECT_EQ(timers.pendingCount(), 0U);
    // Awaiting a guard that already completed does not suspend.
    int resumes = 0;
    int value = 0;
    std::string error;
    [[maybe_unused]] auto task = await(guard, resumes, value, error);
    EXPECT_EQ(resumes, 1);
    EXPECT_EQ(value, 3);
}

} // namespace
} // namespace halvoren
