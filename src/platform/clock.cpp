#include "platform/clock.h"

#include <ctime>

namespace halvoren {
namespace {

double readClock(clockid_t id) {
    timespec ts{};
    clock_gettime(id, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

} // namespace

#if defined(__APPLE__)
// CLOCK_MONOTONIC counts through sleep on Apple platforms; CLOCK_UPTIME_RAW does not.
double SystemClock::monotonicNow() const {
    return readClock(CLOCK_MONOTONIC);
}
double SystemClock::suspendingNow() const {
    return readClock(CLOCK_UPTIME_RAW);
}
#else
// On Linux CLOCK_BOOTTIME counts through suspend and CLOCK_MONOTONIC does not.
double SystemClock::monotonicNow() const {
    return readClock(CLOCK_BOOTTIME);
}
double SystemClock::suspendingNow() const {
    return readClock(CLOCK_MONOTONIC);
}
#endif

Clock::WallTime SystemClock::wallNow() const {
    return std::chrono::system_clock::now();
}

SystemClock& SystemClock::shared() {
    static SystemClock clock;
    return clock;
}

} // namespace halvoren
