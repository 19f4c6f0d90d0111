#pragma once

#include "platform/clock.h"

#include <coroutine>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace halvoren {

// A pending one-shot timer. Cancelling is idempotent and safe after the timer fired or
// its source is gone.
class TimerHandle {
public:
    TimerHandle() = default;
    explicit TimerHandle(std::function<void()> cancel)
        : cancel_(std::move(cancel)) {}

    void cancel() {
        if (cancel_) {
            auto c = std::move(cancel_);
            cancel_ = nullptr;
            c();
        }
    }

private:
    std::function<void()> cancel_;
};

// The one way to wait: every timeout, heartbeat and loop sleep is scheduled here, so
// tests replace real time with a ManualTimerSource and advance it.
class TimerSource {
public:
    virtual ~TimerSource() = default;
    // Calls `fire` once, `delaySeconds` from now, on the thread that owns the source.
    virtual TimerHandle schedule(double delaySeconds, std::function<void()> fire) = 0;
    virtual const Clock& clock() const = 0;

protected:
    TimerSource() = default;
    TimerSource(const TimerSource&) = default;
    TimerSource& operator=(const TimerSource&) = default;
};

// `co_await sleepFor(timers, s)`: resumes the coroutine on the source's thread after s seconds.
struct SleepAwaitable {
    TimerSource& timers;
    double seconds;

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> handle) {
        timers.schedule(seconds, [handle] { handle.resume(); });
    }
    void await_resume() const noexcept {}
};

inline SleepAwaitable sleepFor(TimerSource& timers, double seconds) {
    return SleepAwaitable{timers, seconds};
}

// Timers driven by a ManualClock: nothing fires until the test advances time. Timers due
// at the same instant fire in the order they were scheduled.
class ManualTimerSource final : public TimerSource {
public:
    explicit ManualTimerSource(ManualClock& clock)
        : clock_(clock)
        , pending_(std::make_shared<Queue>()) {}

    TimerHandle schedule(double delaySeconds, std::function<void()> fire) override;
    const Clock& clock() const override { return clock_; }

    // Moves the clock forward by `seconds`, firing every timer that falls due on the way at
    // its own instant (timers scheduled by a firing timer included).
    void advance(double seconds);
    // Fires what is due now without moving the clock.
    void runDue() { advance(0.0); }
    std::size_t pendingCount() const { return pending_->size(); }

private:
    using Queue = std::multimap<std::pair<double, std::uint64_t>, std::function<void()>>;

    ManualClock& clock_;
    std::shared_ptr<Queue> pending_;
    std::uint64_t nextSequence_ = 0;
};

// Real timers on the Qt event loop of the calling thread. Timers started from the thread that
// first used the source share one receiving object, so a timer costs no object of its own (the
// loop schedules two a pass); another thread's get a QTimer each.
class QtTimerSource final : public TimerSource {
public:
    explicit QtTimerSource(const Clock& clock = SystemClock::shared());
    ~QtTimerSource() override;
    QtTimerSource(const QtTimerSource&) = delete;
    QtTimerSource& operator=(const QtTimerSource&) = delete;

    TimerHandle schedule(double delaySeconds, std::function<void()> fire) override;
    const Clock& clock() const override { return clock_; }

private:
    class Host;

    const Clock& clock_;
    std::unique_ptr<Host> host_;
};

} // namespace halvoren
