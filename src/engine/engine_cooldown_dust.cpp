#include "engine/halvoren_engine.h"
#include "platform/timer_source.h"

#include <chrono>
#include <cmath>

namespace halvoren {

void HalvorenEngine::startCooldown() {
    startCooldown(cooldownDuration_.value());
}

void HalvorenEngine::startCooldown(double seconds) {
    if (fans_->empty() || isCoolingDown()) {
        return;
    }
    // Joins a Turbo that is already on, keeping its memory of what came before.
    engageTurbo();
    const std::uint64_t generation = ++cooldownGeneration_;
    cooldownEndDate_.set(timers_.clock().wallNow() + std::chrono::duration_cast<Clock::WallTime::duration>(
                                                         std::chrono::duration<double>(seconds)));
    cooldownTimer_.cancel();
    cooldownTimer_ = timers_.schedule(seconds, [this, generation, alive = std::weak_ptr<int>(lifetime_)] {
        if (!alive.expired()) {
            finishCooldown(generation);
        }
    });
}

void HalvorenEngine::finishCooldown(std::uint64_t generation) {
    // A timer of an earlier cooldown, or one that a clear overtook, is stale.
    if (generation != cooldownGeneration_) {
        return;
    }
    cooldownTimer_ = {};
    cooldownEndDate_.set(std::nullopt);
    // An alert rule that holds Turbo decides its end itself.
    if (autoBoostHolders_.empty()) {
        disengageTurbo();
    }
}

void HalvorenEngine::clearCooldownState() {
    cooldownTimer_.cancel();
    cooldownEndDate_.set(std::nullopt);
    ++cooldownGeneration_;
}

void HalvorenEngine::cancelCooldown() {
    if (!isCoolingDown()) {
        return;
    }
    clearCooldownState();
    disengageTurbo();
}

void HalvorenEngine::startDustCycle() {
    if (fans_->empty() || helperState_->kind() != HelperState::Kind::connected || dustCycleStartedAt_ ||
        !manualFanTargets_->empty() || isTurboEngaged_.value()) {
        return;
    }
    profileBeforeDustCycle_ = activeProfile_.value();
    presetBeforeDustCycle_ = activePreset_.value();
    dustCycleStartedAt_ = timers_.clock().monotonicNow();
    dustCycleState_.set(DustCycleUIState::running(static_cast<int>(DustCycle::totalDuration)));
}

QCoro::Task<void> HalvorenEngine::applyDustStep() {
    if (!dustCycleStartedAt_) {
        co_return;
    }
    const double elapsed = timers_.clock().monotonicNow() - *dustCycleStartedAt_;
    const DustCycle::Verdict verdict = DustCycle::verdict(
        elapsed, controlTemperature_.value(), helperState_->kind() == HelperState::Kind::connected);
    switch (verdict.kind) {
    case DustCycle::Verdict::Kind::run:
        break;
    case DustCycle::Verdict::Kind::finished:
        dustCycleState_.set(DustCycleUIState::completed());
        cancelDustCycle();
        co_return;
    case DustCycle::Verdict::Kind::abortOverTemp:
    case DustCycle::Verdict::Kind::abortHelperLost:
        // The user is not told which of the two it was.
        dustCycleState_.set(DustCycleUIState::aborted());
        cancelDustCycle();
        co_return;
    }
    std::vector<std::pair<int, double>> targets;
    targets.reserve(fans_->size());
    for (const auto& [id, fan] : fans_.value()) {
        targets.emplace_back(id, DustCycle::targetRPM(verdict.dutyFraction, fan.minRPM, fan.maxRPM));
    }
    const std::weak_ptr<int> alive = lifetime_;
    co_await pushTargets(std::move(targets));
    if (alive.expired() || !dustCycleStartedAt_) {
        co_return;
    }
    // Counts 25 ... 1, never 0.
    const int left =
        std::max(1, static_cast<int>(DustCycle::totalDuration) - static_cast<int>(std::floor(elapsed)));
    dustCycleState_.set(DustCycleUIState::running(left));
}

void HalvorenEngine::cancelDustCycle() {
    if (!dustCycleStartedAt_) {
        return;
    }
    dustCycleStartedAt_.reset();
    const std::optional<FanProfile> profile = std::exchange(profileBeforeDustCycle_, std::nullopt);
    const std::optional<FanPreset> preset = std::exchange(presetBeforeDustCycle_, std::nullopt);
    // Tests no other state: whatever an automation did during the cycle is overwritten.
    restorePolicy(preset, profile);
    // Not cancelled by a new cycle: an earlier hold may end on a running cycle, whose next
    // step shows it again. Only the latest is kept, for the engine's end.
    dustCycleHoldTimer_ =
        timers_.schedule(dustCycleResultHold, [this, alive = std::weak_ptr<int>(lifetime_)] {
            if (!alive.expired()) {
                dustCycleState_.set(DustCycleUIState::idle());
            }
        });
}

} // namespace halvoren
