#include "engine/sensor_poller.h"

#include "platform/clock.h"
#include "smc/hid_sensor_source.h"
#include "smc/sensor_discovery.h"
#include "smc/smc_fan_reader.h"
#include "smc/smc_kernel_bridge.h"

#include <QtConcurrent/QtConcurrentRun>
#include <qcoro/qcorofuture.h>

namespace halvoren {

namespace {

// Counts a job off the worker's queue however it ends.
struct Dequeue {
    std::atomic<int>& queued;
    ~Dequeue() { queued.fetch_sub(1, std::memory_order_acq_rel); }
};

} // namespace

SensorPoller::SensorPoller(std::shared_ptr<SMCKernelBridge> bridge, const Clock& clock,
                           HIDSourceFactory hidFactory, std::chrono::nanoseconds inlineLimit)
    : bridge_(std::move(bridge))
    , clock_(clock)
    , hidFactory_(std::move(hidFactory))
    , sweepCost_(inlineLimit)
    , fanCost_(inlineLimit) {
    if (!hidFactory_) {
        hidFactory_ = [] { return std::make_unique<HIDSensorSource>(); };
    }
    if (bridge_) {
        discovery_ = std::make_unique<SensorDiscovery>(bridge_);
        fanReader_ = std::make_unique<SMCFanReader>(bridge_);
    }
    worker_.setMaxThreadCount(1);
    worker_.setExpiryTimeout(-1); // keep the one thread: a poll runs up to ten times a second
}

SensorPoller::~SensorPoller() {
    worker_.waitForDone();
}

QCoro::Task<SensorPoller::Snapshot> SensorPoller::snapshot() {
    CostGate& cost =
        clock_.monotonicNow() >= nextSweepAt_.load(std::memory_order_acquire) ? sweepCost_ : fanCost_;
    if (cost.cheap() && queued_.load(std::memory_order_acquire) == 0) {
        co_return cost.timed([this] { return pollNow(); });
    }
    queued_.fetch_add(1, std::memory_order_acq_rel);
    // Named, not a temporary of the co_await: g++ 12 destroys such temporaries twice.
    QFuture<Snapshot> poll = QtConcurrent::run(&worker_, [this, &cost] {
        const Dequeue done{queued_};
        return cost.timed([this] { return pollNow(); });
    });
    co_await poll;
    co_return poll.result();
}

QCoro::Task<> SensorPoller::warmUp() {
    queued_.fetch_add(1, std::memory_order_acq_rel);
    QFuture<void> discovery = QtConcurrent::run(&worker_, [this] {
        const Dequeue done{queued_};
        warmUpNow();
    });
    co_await discovery;
}

void SensorPoller::warmUpNow() {
    if (discovery_ && discovered_.empty()) {
        discovered_ = discovery_->discoverAll();
    }
}

SensorPoller::Snapshot SensorPoller::pollNow() {
    if (!discovery_ || !fanReader_) {
        return Snapshot{};
    }
    // Discovery repeats on every poll for as long as it yields nothing.
    warmUpNow();

    Snapshot result;
    const double now = clock_.monotonicNow();
    if (!lastSensorRefreshAt_ || now - *lastSensorRefreshAt_ >= sweepInterval) {
        sweep(now);
        result.sensorsRefreshed = true;
        result.temperatures = cachedTemperatureOnly_;
        result.allSensors = cachedAllSensors_;
    }
    result.fans = fanReader_->allFans();
    result.smcAvailable = true;
    return result;
}

void SensorPoller::sweep(double now) {
    lastSensorRefreshAt_ = now; // before any reading, so a slow sweep does not shift the next one
    nextSweepAt_.store(now + sweepInterval, std::memory_order_release);
    discovered_ = discovery_->refresh(discovered_);

    if (!hidSource_) {
        hidSource_ = hidFactory_();
    }
    hidSensors_.clear();
    for (const auto& reading : hidSource_->readAll()) {
        hidSensors_.push_back(sensorFromHID(reading));
    }

    cachedTemperatureOnly_.clear();
    for (const auto& sensor : discovered_) {
        if (sensor.sensorClass == SensorClass::temperature) {
            cachedTemperatureOnly_.push_back(sensor);
        }
    }
    cachedAllSensors_ = discovered_;
    cachedAllSensors_.insert(cachedAllSensors_.end(), hidSensors_.begin(), hidSensors_.end());
}

} // namespace halvoren
