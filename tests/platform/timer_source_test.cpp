#include "platform/timer_source.h"

#include <QCoreApplication>
#include <QTimer>
#include <gtest/gtest.h>
#include <qcoro/qcorotask.h>
#include <vector>

namespace halvoren {
namespace {

TEST(ManualTimerSource, FiresInDueOrderAtTheirOwnInstantsUnlessCancelled) {
    ManualClock clock(100.0);
    ManualTimerSource timers(clock);
    std::vector<std::pair<int, double>> fired;
    timers.schedule(2.0, [&] { fired.emplace_back(2, clock.monotonicNow()); });
    timers.schedule(1.0, [&] { fired.emplace_back(1, clock.monotonicNow()); });
    timers.schedule(1.0, [&] { fired.emplace_back(3, clock.monotonicNow()); });

    timers.advance(0.999);
    EXPECT_TRUE(fired.empty());
    timers.advance(5.0);
    ASSERT_EQ(fired.size(), 3U);
    EXPECT_EQ(fired[0], std::make_pair(1, 101.0));
    EXPECT_EQ(fired[1], std::make_pair(3, 101.0)); // same instant: scheduling order
    EXPECT_EQ(fired[2], std::make_pair(2, 102.0));
    EXPECT_DOUBLE_EQ(clock.monotonicNow(), 105.999);

    int fires = 0;
    auto handle = timers.schedule(1.0, [&] { ++fires; });
    handle.cancel();
    handle.cancel(); // idempotent
    // A timer that schedules another within the same advance sees it fire too.
    timers.schedule(0.5, [&] { timers.schedule(0.5, [&] { fires += 10; }); });
    timers.advance(1.0);
    EXPECT_EQ(fires, 10);
    EXPECT_EQ(timers.pendingCount(), 0U);

    // Cancelling after the source is gone is harmless.
    TimerHandle orphan;
    {
        ManualTimerSource shortLived(clock);
        orphan = shortLived.schedule(1.0, [] {});
    }
    orphan.cancel();
}

QCoro::Task<int> sleepTwice(TimerSource& timers, std::vector<double>& wakes) {
    co_await sleepFor(timers, 2.5);
    wakes.push_back(timers.clock().monotonicNow());
    co_await sleepFor(timers, 2.5);
    wakes.push_back(timers.clock().monotonicNow());
    co_return 7;
}

TEST(ManualTimerSource, CoroutinesSleepOnTheManualClock) {
    ManualClock clock(0.0);
    ManualTimerSource timers(clock);
    std::vector<double> wakes;
    auto task = sleepTwice(timers, wakes);
    timers.advance(2.4);
    EXPECT_TRUE(wakes.empty());
    timers.advance(10.0);
    EXPECT_EQ(wakes, (std::vector<double>{2.5, 5.0}));
    EXPECT_TRUE(task.isReady());
}

TEST(QtTimerSource, FiresOnTheEventLoopAndCanBeCancelled) {
    int argc = 0;
    QCoreApplication app(argc, nullptr);
    QtTimerSource timers;
    bool cancelledFired = false;
    auto cancelled = timers.schedule(0.01, [&] { cancelledFired = true; });
    cancelled.cancel();
    bool fired = false;
    timers.schedule(0.02, [&] {
        fired = true;
        QCoreApplication::quit();
    });
    QTimer::singleShot(5000, &app, &QCoreApplication::quit); // bound the wait if the timer never fires
    QCoreApplication::exec();
    EXPECT_TRUE(fired);
    EXPECT_FALSE(cancelledFired);

    // A fired timer's handle cancels nothing, not even a timer started in its callback, which
    // may have been given the same id; that one fires.
    TimerHandle first;
    bool secondFired = false;
    first = timers.schedule(0.0, [&] {
        timers.schedule(0.005, [&] {
            secondFired = true;
            QCoreApplication::quit();
        });
        first.cancel();
    });
    QCoreApplication::exec();
    EXPECT_TRUE(secondFired);
}

} // namespace
} // namespace halvoren
