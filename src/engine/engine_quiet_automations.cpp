#include "core/quiet_window.h"
#include "engine/halvoren_engine.h"

#include <QDateTime>

namespace halvoren {

std::chrono::local_seconds HalvorenEngine::localTime(Clock::WallTime now) const {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(now.time_since_epoch());
    // Offsets change only on whole minutes, so one asked of the zone holds for its minute; the
    // zone's arithmetic was a visible part of every second's work.
    const std::int64_t minute = std::chrono::floor<std::chrono::minutes>(seconds).count();
    if (!localOffset_ || localOffset_->minute != minute) {
        const auto millis =
            std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count();
        const QDateTime utc = QDateTime::fromMSecsSinceEpoch(millis, QTimeZone::utc());
        localOffset_ =
            LocalOffset{minute, (timeZone_ ? utc.toTimeZone(*timeZone_) : utc.toLocalTime()).offsetFromUtc()};
    }
    return std::chrono::local_seconds{seconds + std::chrono::seconds{localOffset_->seconds}};
}

int HalvorenEngine::minuteOfDay(Clock::WallTime now) const {
    // Seconds play no part.
    const std::chrono::local_seconds local = localTime(now);
    const auto sinceMidnight = local - std::chrono::floor<std::chrono::days>(local);
    return static_cast<int>(std::chrono::duration_cast<std::chrono::minutes>(sinceMidnight).count());
}

// Two near-twin machines: each captures the present policy and selects Quiet when its
// period starts, and restores the capture when it ends, unless the user moved away from
// Quiet meanwhile. Their differences are deliberate: only the quiet window has a "not seen
// yet" state, only meeting quiet is shown as active, and only the end of a meeting reaches
// into the quiet window's state.
void HalvorenEngine::evaluateQuietHours(Clock::WallTime now) {
    const bool inWindow = quietHoursEnabled_.value() &&
                          isInQuietWindow(minuteOfDay(now), quietHoursStart_.value(), quietHoursEnd_.value());
    if (!wasInQuietWindow_ && !inWindow) {
        return;
    }
    // Launching inside a window counts as its start.
    const bool was = wasInQuietWindow_.value_or(false);
    const bool quiet = activePreset_.value() == FanPreset::quiet;

    if (!inWindow) {
        if (!was) {
            return;
        }
        if (hasQuietHoursMemory_ && quiet && manualFanTargets_->empty() && !isTurboEngaged_.value()) {
            const std::optional<FanPreset> preset = presetBeforeQuietHours_;
            const std::optional<FanProfile> profile = profileBeforeQuietHours_;
            restorePolicy(preset, profile);
        }
        hasQuietHoursMemory_ = false;
        presetBeforeQuietHours_.reset();
        profileBeforeQuietHours_.reset();
        quietHoursOverriddenThisWindow_ = false;
        wasInQuietWindow_ = false;
        return;
    }

    if (hasQuietHoursMemory_) {
        wasInQuietWindow_ = true;
        // The memory waits while Turbo runs.
        if (isTurboEngaged_.value() || quiet) {
            return;
        }
        // The user left Quiet inside the window; manual control counts too.
        hasQuietHoursMemory_ = false;
        presetBeforeQuietHours_.reset();
        profileBeforeQuietHours_.reset();
        quietHoursOverriddenThisWindow_ = true;
        return;
    }
    if (quiet) {
        // Chosen by the user: nothing to restore at the end.
        wasInQuietWindow_ = true;
        return;
    }
    if (was) {
        quietHoursOverriddenThisWindow_ = true;
        wasInQuietWindow_ = false;
        return;
    }
    // The start of a window. Under Turbo or manual control the capture waits, and is tried
    // again at each evaluation inside the window.
    if (quietHoursOverriddenThisWindow_ || !manualFanTargets_->empty() || isTurboEngaged_.value()) {
        return;
    }
    presetBeforeQuietHours_ = activePreset_.value();
    profileBeforeQuietHours_ = activeProfile_.value();
    hasQuietHoursMemory_ = true;
    wasInQuietWindow_ = true;
    selectPreset(FanPreset::quiet);
}

void HalvorenEngine::evaluateMeetingQuiet(bool micInUse) {
    const bool meeting = meetingQuietEnabled_.value() && micInUse;
    const bool was = micWasInUse_;
    const bool quiet = activePreset_.value() == FanPreset::quiet;

    if (!meeting) {
        if (!was) {
            return;
        }
        if (hasMeetingQuietMemory_ && quiet && manualFanTargets_->empty() && !isTurboEngaged_.value()) {
            const std::optional<FanPreset> preset = presetBeforeMeeting_;
            const std::optional<FanProfile> profile = profileBeforeMeeting_;
            restorePolicy(preset, profile);
            // A quiet window that opened during the meeting found Quiet on and kept no memory;
            // it must see a fresh start now, not take this restore for the user's override.
            if (wasInQuietWindow_ == true && !quietHoursOverriddenThisWindow_) {
                wasInQuietWindow_ = false;
            }
        }
        hasMeetingQuietMemory_ = false;
        presetBeforeMeeting_.reset();
        profileBeforeMeeting_.reset();
        meetingQuietActive_.set(false);
        meetingQuietOverriddenThisMeeting_ = false;
        micWasInUse_ = false;
        return;
    }

    if (hasMeetingQuietMemory_) {
        micWasInUse_ = true;
        if (isTurboEngaged_.value() || quiet) {
            return;
        }
        hasMeetingQuietMemory_ = false;
        presetBeforeMeeting_.reset();
        profileBeforeMeeting_.reset();
        meetingQuietActive_.set(false);
        meetingQuietOverriddenThisMeeting_ = true;
        return;
    }
    if (quiet) {
        micWasInUse_ = true;
        return;
    }
    if (was) {
        meetingQuietOverriddenThisMeeting_ = true;
        micWasInUse_ = false;
        return;
    }
    if (meetingQuietOverriddenThisMeeting_ || !manualFanTargets_->empty() || isTurboEngaged_.value()) {
        return;
    }
    presetBeforeMeeting_ = activePreset_.value();
    profileBeforeMeeting_ = activeProfile_.value();
    hasMeetingQuietMemory_ = true;
    micWasInUse_ = true;
    meetingQuietActive_.set(true);
    selectPreset(FanPreset::quiet);
}

} // namespace halvoren
