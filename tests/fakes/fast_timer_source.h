#pragma once

#include "platform/timer_source.h"

#include <chrono>

namespace halvoren {

// Real timers on the Qt event loop with time running `rate` times faster than the wall: a
// minute of the engine's and the simulated machine's time passes in a minute / rate. Processes
// outside (the helper) keep real time, so rates that shrink their deadlines below a reply's
// real latency are out of place.
class FastTimerSource final : public TimerSource {
public:
    explicit FastTimerSource(double rate)
        : clock_(rate)
        , timers_(clock_) {}

    TimerHandle schedule(double delaySeconds, std::function<void()> fire) override {
        return timers_.schedule(delaySeconds / clock_.rate, std::move(fire));
    }
    const Clock& clock() const override { return clock_; }

private:
    struct FastClock final : Clock {
        explicit FastClock(double r)
            : rate(r) {}
        double scaled(double real, double origin) const { return origin + (real - origin) * rate; }
        double monotonicNow() const override { return scaled(real.monotonicNow(), monotonicOrigin); }
        double suspendingNow() const override { return scaled(real.suspendingNow(), suspendingOrigin); }
        WallTime wallNow() const override {
            const double elapsed = monotonicNow() - monotonicOrigin;
            return wallOrigin +
                   std::chrono::duration_cast<WallTime::duration>(std::chrono::duration<double>(elapsed));
        }

        double rate;
        const SystemClock& real = SystemClock::shared();
        double monotonicOrigin = real.monotonicNow();
        double suspendingOrigin = real.suspendingNow();
        WallTime wallOrigin = real.wallNow();
    };

    FastClock clock_;
    QtTimerSource timers_;
};

} // namespace halvoren
