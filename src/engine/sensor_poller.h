#pragma once

#include "core/fan_status.h"
#include "core/sensor.h"
#include "engine/cost_gate.h"

#include <QThreadPool>
#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <qcoro/qcorotask.h>
#include <vector>

namespace halvoren {

class Clock;
class HIDSensorSource;
class SMCKernelBridge;
class SensorDiscovery;
class SMCFanReader;

// The serial reader of sensors and fans. Blocking controller exchanges run on the
// poller's own one-thread worker; the run loop awaits `snapshot()` from the main thread.
// The expensive sensor sweep runs at most once a second, the fans on every poll.
// A poller is built for one bridge and replaced, not reconnected, when the bridge changes.
class SensorPoller {
public:
    struct Snapshot {
        // Filled by a poll that swept, empty between sweeps: nothing reads them then, and copying
        // them was a tenth of a fan-only poll.
        std::vector<SMCSensor> temperatures; // controller sensors of class temperature; never HID ones
        std::vector<SMCSensor> allSensors;   // every kept controller sensor, then the HID sensors
        std::vector<FanStatus> fans;         // read anew on every poll
        bool smcAvailable = false;           // false only when there is no bridge
        bool sensorsRefreshed = false;       // this poll made a sweep
    };

    using HIDSourceFactory = std::function<std::unique_ptr<HIDSensorSource>()>;

    static constexpr double sweepInterval = 1.0; // seconds

    // `bridge` may be null (the controller could not be opened): every poll is then empty.
    // The HID source is made on first use with `hidFactory`, by default the platform's own.
    // A poll that took less than `inlineLimit` the last time runs on the caller's thread.
    SensorPoller(std::shared_ptr<SMCKernelBridge> bridge, const Clock& clock,
                 HIDSourceFactory hidFactory = {},
                 std::chrono::nanoseconds inlineLimit = CostGate::defaultLimit);
    ~SensorPoller();

    SensorPoller(const SensorPoller&) = delete;
    SensorPoller& operator=(const SensorPoller&) = delete;

    // One poll: on the calling thread when the same kind of poll (with or without a sweep) was
    // cheap the last time and the worker has nothing queued, otherwise on the worker.
    QCoro::Task<Snapshot> snapshot();
    // Runs the discovery ahead of the first poll while nothing is discovered, on the worker.
    QCoro::Task<> warmUp();

    // The same work on the calling thread. Only for code already serialised with the
    // worker: tests, and tools that own the poller on one thread.
    Snapshot pollNow();
    void warmUpNow();

    const std::shared_ptr<SMCKernelBridge>& bridge() const { return bridge_; }

private:
    void sweep(double now);

    std::shared_ptr<SMCKernelBridge> bridge_;
    const Clock& clock_;
    HIDSourceFactory hidFactory_;
    std::unique_ptr<SensorDiscovery> discovery_;
    std::unique_ptr<SMCFanReader> fanReader_;
    std::unique_ptr<HIDSensorSource> hidSource_;

    std::vector<SMCSensor> discovered_;
    std::vector<SMCSensor> hidSensors_;
    std::vector<SMCSensor> cachedTemperatureOnly_;
    std::vector<SMCSensor> cachedAllSensors_;
    std::optional<double> lastSensorRefreshAt_;
    // Read by the caller to choose where the next poll runs; the worker writes them.
    std::atomic<double> nextSweepAt_{0.0};
    CostGate sweepCost_;
    CostGate fanCost_;
    std::atomic<int> queued_{0};

    // Declared last so that it is destroyed first: its destructor waits for queued work,
    // which still needs the members above.
    QThreadPool worker_;
};

} // namespace halvoren
