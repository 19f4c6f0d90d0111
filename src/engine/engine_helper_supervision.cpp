#include "engine/fan_driver.h"
#include "engine/halvoren_engine.h"
#include "platform/timer_source.h"

namespace halvoren {

void HalvorenEngine::refreshHelperState() {
    supervisor_.refreshHelperState();
}

void HalvorenEngine::installHelper() {
    supervisor_.installHelper();
}

void HalvorenEngine::uninstallHelper() {
    // The fans go back while the helper can still be reached.
    std::function<QCoro::Task<void>()> restoreFirst;
    if (isControlling_) {
        restoreFirst = [this] { return restoreAuto(); };
    }
    supervisor_.uninstallHelper(std::move(restoreFirst));
}

void HalvorenEngine::openHelperApproval() {
    supervisor_.openHelperApproval();
}

// Another program may hold the controller; try again at most every 5 s, never twice at once.
void HalvorenEngine::attemptSMCReopenFromTick() {
    if (isSMCReopenInFlight_) {
        return;
    }
    const double now = timers_.clock().monotonicNow();
    if (lastSMCReopenAttempt_ && now - *lastSMCReopenAttempt_ < smcReopenDebounce) {
        return;
    }
    lastSMCReopenAttempt_ = now;
    isSMCReopenInFlight_ = true;
    [[maybe_unused]] auto task = [](HalvorenEngine* self) -> QCoro::Task<void> {
        const std::weak_ptr<int> alive = self->lifetime_;
        co_await self->reopenSMCBridgeIfPossible();
        if (!alive.expired()) {
            self->isSMCReopenInFlight_ = false;
        }
    }(this);
}

QCoro::Task<void> HalvorenEngine::reopenSMCBridgeIfPossible() {
    std::shared_ptr<SMCKernelBridge> bridge = driver_.reopenBridgeIfNeeded();
    if (!bridge) {
        co_return;
    }
    // The next pass reads from the new poller; its discovery runs on the poller's worker.
    poller_ = makePoller(std::move(bridge));
    warmUpInBackground(poller_);
}

} // namespace halvoren
