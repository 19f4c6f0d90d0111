#pragma once

#include "core/power_telemetry.h"

#include <memory>

namespace halvoren {

// One reading of the machine's power state. `telemetry.isClamshell` is always false here: the
// engine fills it in from its own lid state.
struct PowerReading {
    PowerTelemetry telemetry;
    bool clamshell = false; // the lid is closed

    friend bool operator==(const PowerReading&, const PowerReading&) = default;
};

// Reads the power source, the battery's electrical state and the lid. Blocking: it is called
// on a worker thread, or in place while it proves cheap, one call at a time. Every failure reads as a neutral value: source
// `unknown`, zero watts, not charging, zero watt-hours, lid open.
class PowerStateObserver {
public:
    virtual ~PowerStateObserver() = default;
    virtual PowerReading reading() = 0;

protected:
    PowerStateObserver() = default;
    PowerStateObserver(const PowerStateObserver&) = default;
    PowerStateObserver& operator=(const PowerStateObserver&) = default;
};

// The running system's own observer.
std::shared_ptr<PowerStateObserver> systemPowerStateObserver();

} // namespace halvoren
