#pragma once

#include "core/fan_status.h"
#include "engine/helper_state.h"

#include <functional>
#include <memory>
#include <qcoro/qcorotask.h>
#include <string>
#include <vector>

namespace halvoren {

class SMCKernelBridge;

// What the engine asks of the link to the fan-control helper. The one implementation in the
// program is SMCDriverActor; tests put a scripted driver here. Calls fail by throwing
// DriverFailure; a helper that does not answer in time fails with DriverError::timedOut.
class FanDriver {
public:
    virtual ~FanDriver() = default;

    // The controller bridge opened at creation; may be null.
    virtual std::shared_ptr<SMCKernelBridge> sharedBridge() const = 0;
    // Called, from the event loop, when the helper connection drops or a reply times out.
    virtual void setConnectionLossHandler(std::function<void()> handler) = 0;

    virtual QCoro::Task<HelperState> currentState() = 0;
    virtual QCoro::Task<HelperState> registerHelper() = 0;
    virtual QCoro::Task<HelperState> unregisterHelper() = 0;
    // Replaces a running helper with the installed one.
    virtual QCoro::Task<HelperState> bounceHelper() = 0;
    virtual QCoro::Task<std::string> daemonVersion() = 0;
    // Returns the target the helper applied.
    virtual QCoro::Task<double> setTargetRPM(int fan, double rpm) = 0;
    // Hands every fan back to the firmware.
    virtual QCoro::Task<void> restoreAuto() = 0;
    // The fans as each poll read them, so that a target the controller still holds need not
    // travel again.
    virtual void observeFans(const std::vector<FanStatus>& /*fans*/) {}

    // The bridge in use, or a fresh one when there is none yet; null when the controller
    // still cannot be opened.
    virtual std::shared_ptr<SMCKernelBridge> reopenBridgeIfNeeded() = 0;
    virtual void openLoginItemsSettings() = 0;

protected:
    FanDriver() = default;
    FanDriver(const FanDriver&) = default;
    FanDriver& operator=(const FanDriver&) = default;
};

} // namespace halvoren
