#pragma once

#include "engine/helper_state.h"

#include <functional>
#include <memory>
#include <optional>
#include <qcoro/qcorotask.h>

namespace halvoren {

class FanDriver;
class TimerSource;

// Decides when to ask the driver for the helper's state, and keeps the published
// `helperState` true without letting a slow, stale answer overwrite a newer one: every
// attempt takes a generation token and only the latest may commit. Also replaces a
// resident helper of another version, at most once per run. Main thread only.
class HelperSupervisor {
public:
    static constexpr double tickRefreshDebounce = 2.0; // seconds
    static constexpr double connectionLossDebounce = 2.0;

    HelperSupervisor(FanDriver& driver, TimerSource& timers);
    ~HelperSupervisor();
    HelperSupervisor(const HelperSupervisor&) = delete;
    HelperSupervisor& operator=(const HelperSupervisor&) = delete;

    // Called on every real change of `helperState`.
    void setStateChangedHandler(std::function<void(const HelperState&)> handler) {
        stateChanged_ = std::move(handler);
    }

    const HelperState& helperState() const { return helperState_; }
    int helperStateGeneration() const { return helperStateGeneration_; }
    bool helperVersionChecked() const { return helperVersionChecked_; }
    bool helperBounceAttempted() const { return helperBounceAttempted_; }

    // From the user interface and at start: every call runs.
    void refreshHelperState();
    // From the control ticks while not connected: at most every 2 s, never two at once.
    void refreshHelperStateFromTick();
    // The driver's connection-loss handler: at most one refresh per 2 s.
    void helperConnectionLost();
    void installHelper();
    // `restoreFirst`, when given, runs before the helper is unregistered, so that the fans
    // go back while the helper can still be reached.
    void uninstallHelper(std::function<QCoro::Task<void>()> restoreFirst = {});
    void openHelperApproval();

private:
    int beginHelperStateAttempt();
    void commitHelperState(const HelperState& state, int token);
    QCoro::Task<void> refreshWith(int token);
    QCoro::Task<void> checkVersion();

    FanDriver& driver_;
    TimerSource& timers_;
    std::shared_ptr<int> lifetime_ = std::make_shared<int>(0); // tasks hold it weakly

    HelperState helperState_ = HelperState::notRegistered();
    int helperStateGeneration_ = 0;
    bool helperVersionChecked_ = false;
    bool helperBounceAttempted_ = false;
    std::optional<double> lastHelperTickRefresh_;
    bool isTickRefreshInFlight_ = false;
    std::optional<double> lastConnectionLossHandled_;
    std::function<void(const HelperState&)> stateChanged_;
};

} // namespace halvoren
