#include "helper/fan_safety.h"

#include "core/double_text.h"
#include "helper/helper_log.h"

#include <QString>

namespace halvoren {

FanSafety::FanSafety(FanWriter& writer, TimerSource& timers, double timeout)
    : writer_(writer)
    , timers_(timers)
    , timeout_(timeout)
    , lastActivity_(timers.clock().monotonicNow()) {}

FanSafety::~FanSafety() {
    watchdog_.cancel();
}

void FanSafety::noteActivity() {
    // The watchdog looks at this when it fires rather than being rescheduled per request.
    lastActivity_ = timers_.clock().monotonicNow();
}

void FanSafety::noteForcing(int fan) {
    forced_.insert(fan);
    if (!armed_) {
        arm(lastActivity_ + timeout_ - timers_.clock().monotonicNow());
    }
}

void FanSafety::noteHandedBack(int fan, std::string_view reason) {
    forced_.erase(fan);
    HALVOREN_LOG_DEFAULT(logHelper).noquote()
        << QStringLiteral("Handed fan %1 back to the firmware: %2")
               .arg(fan)
               .arg(QString::fromUtf8(reason.data(), static_cast<qsizetype>(reason.size())));
}

std::optional<std::string> FanSafety::restoreAll(std::string_view reason) {
    const QString why = QString::fromUtf8(reason.data(), static_cast<qsizetype>(reason.size()));
    try {
        writer_.restoreAutomatic();
    } catch (const FanWriteError& error) {
        uncertain_ = true;
        qCWarning(logHelper).noquote()
            << QStringLiteral("Could not hand every fan back to the firmware (%1): %2")
                   .arg(why, error.what());
        if (!armed_) {
            arm(timeout_); // try again unless a client keeps the fans busy
        }
        return error.what();
    }
    uncertain_ = false;
    forced_.clear();
    HALVOREN_LOG_DEFAULT(logHelper).noquote()
        << QStringLiteral("Handed every fan back to the firmware: %1").arg(why);
    return std::nullopt;
}

void FanSafety::lastClientGone() {
    if (anyForced()) {
        restoreAll("the last client disconnected");
    }
}

void FanSafety::arm(double delay) {
    armed_ = true;
    watchdog_ = timers_.schedule(delay, [this] { watchdogFired(); });
}

void FanSafety::watchdogFired() {
    armed_ = false;
    if (!anyForced()) {
        return;
    }
    const double now = timers_.clock().monotonicNow();
    const double due = lastActivity_ + timeout_;
    if (now < due) {
        arm(due - now);
        return;
    }
    restoreAll("no request from any client for " + doubleText(timeout_) + " s");
}

} // namespace halvoren
