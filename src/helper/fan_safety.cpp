#include "helper/fan_safety.h"

#include "core/double_text.h"
#include "helper/helper_log.h"

#include <QString>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

// Timers may fire a hair before the instant they were computed for, through rounding.
constexpr double slack = 1e-6;

QString text(std::string_view view) {
    return QString::fromUtf8(view.data(), static_cast<qsizetype>(view.size()));
}

std::string clientName(ClientId client) {
    return "client " + std::to_string(client);
}

} // namespace

FanSafety::FanSafety(FanWriter& writer, TimerSource& timers, double timeout)
    : writer_(writer)
    , timers_(timers)
    , timeout_(timeout) {}

FanSafety::~FanSafety() {
    watchdog_.cancel();
}

void FanSafety::noteActivity(ClientId client) {
    // The watchdog looks at this when it fires rather than being rescheduled per request.
    lastRequest_[client] = timers_.clock().monotonicNow();
}

void FanSafety::noteForcing(ClientId client, int fan) {
    lastRequest_.try_emplace(client, timers_.clock().monotonicNow());
    forced_[fan] = Forced{client};
    arm();
}

void FanSafety::noteHandedBack(int fan, std::string_view reason) {
    forced_.erase(fan);
    HALVOREN_LOG_DEFAULT(logHelper).noquote()
        << QStringLiteral("Handed fan %1 back to the firmware: %2").arg(fan).arg(text(reason));
}

void FanSafety::clientGone(ClientId client) {
    lastRequest_.erase(client);
    std::vector<int> fans;
    for (const auto& [fan, state] : forced_) {
        if (state.owner == client) {
            fans.push_back(fan);
        }
    }
    for (const int fan : fans) {
        handBack(fan, clientName(client) + " disconnected");
    }
}

std::optional<std::string> FanSafety::restoreAll(std::string_view reason) {
    try {
        writer_.restoreAutomatic();
    } catch (const FanWriteError& error) {
        // Which fans failed is not known, so each is tried again on its own.
        const double retryAt = timers_.clock().monotonicNow() + retryDelay;
        for (int fan = 0; fan < writer_.fanCount(); ++fan) {
            forced_[fan] = Forced{std::nullopt, retryAt};
        }
        qCWarning(logHelper).noquote()
            << QStringLiteral("Could not hand every fan back to the firmware (%1): %2")
                   .arg(text(reason), error.what());
        arm();
        return error.what();
    }
    forced_.clear();
    HALVOREN_LOG_DEFAULT(logHelper).noquote()
        << QStringLiteral("Handed every fan back to the firmware: %1").arg(text(reason));
    return std::nullopt;
}

std::optional<ClientId> FanSafety::owner(int fan) const {
    const auto found = forced_.find(fan);
    return found == forced_.end() ? std::nullopt : found->second.owner;
}

void FanSafety::handBack(int fan, const std::string& reason) {
    try {
        writer_.setAutomatic(fan);
    } catch (const FanWriteError& error) {
        forced_[fan] = Forced{std::nullopt, timers_.clock().monotonicNow() + retryDelay};
        qCWarning(logHelper).noquote()
            << QStringLiteral("Could not hand fan %1 back to the firmware (%2): %3")
                   .arg(fan)
                   .arg(QString::fromStdString(reason), error.what());
        arm();
        return;
    }
    noteHandedBack(fan, reason);
}

std::optional<double> FanSafety::nextDue() const {
    std::optional<double> earliest;
    for (const auto& [fan, state] : forced_) {
        double due = state.retryAt;
        if (state.owner) {
            const auto last = lastRequest_.find(*state.owner);
            due = last == lastRequest_.end() ? 0.0 : last->second + timeout_;
        }
        if (!earliest || due < *earliest) {
            earliest = due;
        }
    }
    return earliest;
}

void FanSafety::arm() {
    const auto due = nextDue();
    if (!due || (armedFor_ && *armedFor_ <= *due)) {
        return;
    }
    watchdog_.cancel();
    armedFor_ = *due;
    watchdog_ = timers_.schedule(*due - timers_.clock().monotonicNow(), [this] { watchdogFired(); });
}

void FanSafety::watchdogFired() {
    armedFor_.reset();
    const double now = timers_.clock().monotonicNow() + slack;
    std::vector<std::pair<int, std::string>> due;
    for (const auto& [fan, state] : forced_) {
        if (!state.owner) {
            if (state.retryAt <= now) {
                due.emplace_back(fan, "trying again after a failed hand-back");
            }
            continue;
        }
        const auto last = lastRequest_.find(*state.owner);
        if (last == lastRequest_.end() || last->second + timeout_ <= now) {
            due.emplace_back(fan, "no request from " + clientName(*state.owner) + " for " +
                                      doubleText(timeout_) + " s");
        }
    }
    for (const auto& [fan, reason] : due) {
        handBack(fan, reason);
    }
    arm();
}

} // namespace halvoren
