#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <utility>

namespace halvoren {

// Remembers what a piece of blocking work cost the last time it ran, so that the caller can run
// it in place when it is cheap instead of hopping to a worker thread and back: two thread
// wake-ups cost more than a read of a few attribute files. Work that has never run, or was slow
// the last time, goes to the worker, where a stall cannot hold up the event loop; once it is
// fast again it comes back. Safe to time on one thread and ask on another.
class CostGate {
public:
    // Work under a millisecond may run on the event loop's thread: a frame is sixteen.
    static constexpr std::chrono::nanoseconds defaultLimit = std::chrono::milliseconds(1);

    explicit CostGate(std::chrono::nanoseconds limit = defaultLimit)
        : limit_(limit.count()) {}

    bool cheap() const {
        const std::int64_t last = lastNanoseconds_.load(std::memory_order_acquire);
        return last >= 0 && last < limit_;
    }

    // Runs `work` and remembers how long it took.
    template <class Work>
    decltype(auto) timed(Work&& work) {
        struct Record {
            CostGate& gate;
            int exceptionsBefore = std::uncaught_exceptions();
            std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
            ~Record() {
                // A throwing call counts as slow: the next one goes to the worker.
                const auto spent = std::chrono::duration_cast<std::chrono::nanoseconds>(
                                       std::chrono::steady_clock::now() - start)
                                       .count();
                gate.lastNanoseconds_.store(std::uncaught_exceptions() > exceptionsBefore ? gate.limit_
                                                                                          : spent,
                                            std::memory_order_release);
            }
        } record{*this};
        return std::forward<Work>(work)();
    }

    void forget() { lastNanoseconds_.store(-1, std::memory_order_release); }

private:
    std::int64_t limit_;
    std::atomic<std::int64_t> lastNanoseconds_{-1};
};

} // namespace halvoren
