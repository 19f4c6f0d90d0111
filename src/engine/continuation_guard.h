#pragma once

#include "platform/timer_source.h"

#include <coroutine>
#include <exception>
#include <optional>
#include <utility>

namespace halvoren {

// Makes one race between completions safe, typically a reply against a timeout: whoever
// claims first completes the awaiting coroutine, every later claim is told to drop its result.
//
// Reply handlers and timers run on the thread that owns the driver's event loop, so no lock is
// needed. Hold it in a shared_ptr captured by each competitor, and claim() before completing:
//
//     if (!guard->claim()) guard->resume(value);
template <class T>
class ContinuationGuard {
public:
    // Marks the race as decided and cancels the attached timeout. Returns whether it already
    // was: only a caller that got false may complete.
    bool claim() {
        const bool old = resumed_;
        resumed_ = true;
        auto timeout = std::exchange(timeout_, TimerHandle{});
        timeout.cancel();
        return old;
    }

    // Keeps the timeout for claim() to cancel; one attached after the race is decided is
    // cancelled at once.
    void attachTimeout(TimerHandle timeout) {
        if (resumed_) {
            timeout.cancel();
        } else {
            timeout_ = std::move(timeout);
        }
    }

    void resume(T value) {
        value_ = std::move(value);
        wake();
    }
    template <class E>
    void fail(E error) {
        error_ = std::make_exception_ptr(std::move(error));
        wake();
    }

    bool isComplete() const { return value_.has_value() || error_ != nullptr; }

    // `co_await guard` gives the value or throws the error; it does not suspend when the
    // guard completed before.
    auto operator co_await() {
        struct Awaiter {
            ContinuationGuard& guard;
            bool await_ready() const noexcept { return guard.isComplete(); }
            void await_suspend(std::coroutine_handle<> handle) noexcept { guard.waiter_ = handle; }
            T await_resume() {
                if (guard.error_) {
                    std::rethrow_exception(guard.error_);
                }
                return std::move(*guard.value_);
            }
        };
        return Awaiter{*this};
    }

private:
    void wake() {
        if (auto waiter = std::exchange(waiter_, {})) {
            waiter.resume();
        }
    }

    bool resumed_ = false;
    TimerHandle timeout_;
    std::optional<T> value_;
    std::exception_ptr error_;
    std::coroutine_handle<> waiter_;
};

} // namespace halvoren
