#pragma once

#include <chrono>

namespace halvoren {

// The program's one source of time. Instants are seconds as double from an arbitrary
// origin; only differences between two readings of the same clock mean anything.
class Clock {
public:
    using WallTime = std::chrono::system_clock::time_point;

    virtual ~Clock() = default;
    // Goes on while the machine sleeps: debounces, timeouts, sweep spacing.
    virtual double monotonicNow() const = 0;
    // Stops while the machine sleeps: run-time accounting such as fan health.
    virtual double suspendingNow() const = 0;
    // The wall date: schedules, file names, history.
    virtual WallTime wallNow() const = 0;

protected:
    Clock() = default;
    Clock(const Clock&) = default;
    Clock& operator=(const Clock&) = default;
};

// The real clocks of the operating system.
class SystemClock final : public Clock {
public:
    double monotonicNow() const override;
    double suspendingNow() const override;
    WallTime wallNow() const override;

    // One shared instance; it has no state.
    static SystemClock& shared();
};

// A clock that moves only when told to; for tests and replays. Not thread-safe by
// design: tests advance it from the thread that owns the code under test.
class ManualClock final : public Clock {
public:
    explicit ManualClock(double start = 1000.0,
                         WallTime wallStart = WallTime{std::chrono::seconds{1'800'000'000}})
        : monotonic_(start)
        , suspending_(start)
        , wallOrigin_(wallStart)
        , monotonicOrigin_(start) {}

    double monotonicNow() const override { return monotonic_; }
    double suspendingNow() const override { return suspending_; }
    WallTime wallNow() const override {
        return wallOrigin_ + std::chrono::duration_cast<WallTime::duration>(
                                 std::chrono::duration<double>(monotonic_ - monotonicOrigin_));
    }

    // Time passing while awake: every clock moves.
    void advance(double seconds) {
        monotonic_ += seconds;
        suspending_ += seconds;
    }
    // Time passing asleep: the suspending clock stands still.
    void sleepMachine(double seconds) { monotonic_ += seconds; }

private:
    double monotonic_;
    double suspending_;
    WallTime wallOrigin_;
    double monotonicOrigin_;
};

} // namespace halvoren
