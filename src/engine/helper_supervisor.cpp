#include "engine/helper_supervisor.h"

#include "core/helper_constants.h"
#include "engine/fan_driver.h"
#include "engine/log_categories.h"
#include "platform/timer_source.h"

namespace halvoren {

HelperSupervisor::HelperSupervisor(FanDriver& driver, TimerSource& timers)
    : driver_(driver)
    , timers_(timers) {}

HelperSupervisor::~HelperSupervisor() = default;

int HelperSupervisor::beginHelperStateAttempt() {
    return ++helperStateGeneration_;
}

void HelperSupervisor::commitHelperState(const HelperState& state, int token) {
    if (token != helperStateGeneration_) {
        return; // a newer attempt has begun; this answer is stale
    }
    if (!(helperState_ == state)) {
        helperState_ = state;
        if (stateChanged_) {
            stateChanged_(helperState_);
        }
    }
    if (state.kind() == HelperState::Kind::connected && !helperVersionChecked_) {
        helperVersionChecked_ = true;
        [[maybe_unused]] auto task = checkVersion();
    }
}

QCoro::Task<void> HelperSupervisor::refreshWith(int token) {
    const std::weak_ptr<int> alive = lifetime_;
    const HelperState state = co_await driver_.currentState();
    if (!alive.expired()) {
        commitHelperState(state, token);
    }
}

QCoro::Task<void> HelperSupervisor::checkVersion() {
    const std::weak_ptr<int> alive = lifetime_;
    std::string version;
    try {
        version = co_await driver_.daemonVersion();
    } catch (const DriverFailure&) {
        co_return; // no retry in this run: the check stays done
    }
    if (alive.expired() || helperBounceAttempted_ || version == helperBuildVersion) {
        co_return;
    }
    helperBounceAttempted_ = true;
    HALVOREN_LOG_DEFAULT(logDriver,
                         "resident helper %s ≠ app %s — relaunching daemon to load the updated binary",
                         version.c_str(), std::string(helperBuildVersion).c_str());
    co_await driver_.bounceHelper();
    if (alive.expired()) {
        co_return;
    }
    co_await refreshWith(beginHelperStateAttempt());
}

void HelperSupervisor::refreshHelperState() {
    [[maybe_unused]] auto task = refreshWith(beginHelperStateAttempt());
}

void HelperSupervisor::refreshHelperStateFromTick() {
    if (isTickRefreshInFlight_) {
        return;
    }
    const double now = timers_.clock().monotonicNow();
    if (lastHelperTickRefresh_ && now - *lastHelperTickRefresh_ < tickRefreshDebounce) {
        return;
    }
    lastHelperTickRefresh_ = now;
    isTickRefreshInFlight_ = true;
    const int token = beginHelperStateAttempt();
    [[maybe_unused]] auto task = [](HelperSupervisor* self, int token) -> QCoro::Task<void> {
        const std::weak_ptr<int> alive = self->lifetime_;
        const HelperState state = co_await self->driver_.currentState();
        if (!alive.expired()) {
            self->commitHelperState(state, token);
            self->isTickRefreshInFlight_ = false;
        }
    }(this, token);
}

void HelperSupervisor::helperConnectionLost() {
    const double now = timers_.clock().monotonicNow();
    if (lastConnectionLossHandled_ && now - *lastConnectionLossHandled_ < connectionLossDebounce) {
        return;
    }
    lastConnectionLossHandled_ = now;
    HALVOREN_LOG_DEFAULT(logDriver, "helper XPC connection lost — refreshing helper state");
    refreshHelperState();
}

void HelperSupervisor::installHelper() {
    const int token = beginHelperStateAttempt();
    [[maybe_unused]] auto task = [](HelperSupervisor* self, int token) -> QCoro::Task<void> {
        const std::weak_ptr<int> alive = self->lifetime_;
        const HelperState state = co_await self->driver_.registerHelper();
        if (!alive.expired()) {
            self->commitHelperState(state, token);
        }
    }(this, token);
}

void HelperSupervisor::uninstallHelper(std::function<QCoro::Task<void>()> restoreFirst) {
    const int token = beginHelperStateAttempt();
    [[maybe_unused]] auto task = [](HelperSupervisor* self, int token,
                                    std::function<QCoro::Task<void>()> restore) -> QCoro::Task<void> {
        const std::weak_ptr<int> alive = self->lifetime_;
        if (restore) {
            co_await restore();
            if (alive.expired()) {
                co_return;
            }
        }
        const HelperState state = co_await self->driver_.unregisterHelper();
        if (!alive.expired()) {
            self->commitHelperState(state, token);
        }
    }(this, token, std::move(restoreFirst));
}

void HelperSupervisor::openHelperApproval() {
    driver_.openLoginItemsSettings();
}

} // namespace halvoren
