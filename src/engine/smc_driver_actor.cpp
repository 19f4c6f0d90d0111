#include "engine/smc_driver_actor.h"

#include "core/fan_key.h"
#include "core/helper_constants.h"
#include "core/write_policy.h"
#include "engine/helper_exit_safety.h"
#include "engine/log_categories.h"
#include "smc/smc_error.h"
#include "smc/system_transport.h"

#include <QMetaObject>
#include <cmath>
#include <coroutine>
#include <exception>
#include <limits>
#include <variant>

namespace halvoren {

// The handle of one heartbeat loop. Cancelling ends the loop; a loop asleep wakes at once and
// ends without a heartbeat.
struct SMCDriverActor::HeartbeatLoop {
    bool cancelled = false;
    TimerHandle timer;
    std::coroutine_handle<> sleeper;

    void cancel() {
        cancelled = true;
        timer.cancel();
        wake();
    }

    void wake() {
        if (auto handle = std::exchange(sleeper, {})) {
            handle.resume();
        }
    }

    // Resumes after `seconds`, or when the loop is cancelled, whichever comes first.
    static auto sleep(const std::shared_ptr<HeartbeatLoop>& loop, TimerSource& timers, double seconds) {
        struct Awaiter {
            std::shared_ptr<HeartbeatLoop> loop;
            TimerSource& timers;
            double seconds;

            bool await_ready() const noexcept { return loop->cancelled; }
            void await_suspend(std::coroutine_handle<> handle) {
                loop->sleeper = handle;
                const std::weak_ptr<HeartbeatLoop> weak = loop;
                loop->timer = timers.schedule(seconds, [weak] {
                    if (const auto alive = weak.lock()) {
                        alive->wake();
                    }
                });
            }
            void await_resume() const noexcept {}
        };
        return Awaiter{loop, timers, seconds};
    }
};

namespace {

// decodeReply gives the result type of the method asked, so the alternative is known.
template <class Result>
Result resultOf(HelperReply::Outcome&& outcome) {
    return std::get<Result>(std::move(outcome));
}

} // namespace

std::shared_ptr<SMCKernelBridge> SMCDriverActor::openRealBridge(const std::filesystem::path& hwmonRoot) {
    try {
        return std::make_shared<SMCKernelBridge>(openSystemTransport(hwmonRoot));
    } catch (const std::exception& error) {
        HALVOREN_LOG_ERROR(logSMC, "SMC bridge open attempt failed: %s", error.what());
        return nullptr;
    }
}

SMCDriverActor::SMCDriverActor(TimerSource& timers, QString helperSocketPath, HelperServiceManager& services,
                               BridgeFactory bridgeFactory)
    : timers_(timers)
    , helperSocketPath_(std::move(helperSocketPath))
    , services_(services)
    , bridgeFactory_(std::move(bridgeFactory)) {
    sharedBridge_ = bridgeFactory_ ? bridgeFactory_() : nullptr;
    if (sharedBridge_) {
        useBridge(sharedBridge_);
        HALVOREN_LOG_DEFAULT(logSMC,
                             "SMC read connection opened at launch (direct, in-process, unprivileged)");
    } else {
        HALVOREN_LOG_ERROR(
            logSMC, "SMC unavailable at launch — initial AppleSMC open failed (see the prior log line, "
                    "if any, for the IOKit reason); the tick-driven reopen will retry on a debounce "
                    "while unavailable");
    }
}

SMCDriverActor::~SMCDriverActor() {
    lifetime_.reset();
    cancelHeartbeat();
    if (const auto connection = std::exchange(connection_, nullptr)) {
        HelperExitSafety::clearConnection();
        connection->close();
    }
}

void SMCDriverActor::useBridge(std::shared_ptr<SMCKernelBridge> bridge) {
    activeBridge_ = std::move(bridge);
    fanReader_ = std::make_unique<SMCFanReader>(activeBridge_);
    boundsCache_.clear();
    cachedFanCount_.reset();
    forgetSentTargets();
}

std::shared_ptr<SMCKernelBridge> SMCDriverActor::reopenBridgeIfNeeded() {
    if (activeBridge_) {
        return activeBridge_;
    }
    auto bridge = bridgeFactory_ ? bridgeFactory_() : nullptr;
    if (!bridge) {
        HALVOREN_LOG_DEFAULT(logSMC, "SMC bridge reopen attempt failed — still unavailable, will retry");
        return nullptr;
    }
    useBridge(bridge);
    HALVOREN_LOG_DEFAULT(
        logSMC, "SMC read connection reopened — a competing fan-control app likely released AppleSMC");
    return bridge;
}

QCoro::Task<HelperState> SMCDriverActor::currentState() {
    // Without sensors the helper's state doesn't matter.
    if (!activeBridge_) {
        co_return HelperState::unavailable("cannot open AppleSMC");
    }
    if (!didInstallExitSafety_) {
        HelperExitSafety::install();
        didInstallExitSafety_ = true;
    }
    co_return co_await resolveState();
}

QCoro::Task<HelperState> SMCDriverActor::resolveState() {
    // A working link proves everything else, so it is tried first.
    auto state = co_await handshake();
    if (state == HelperState::connected()) {
        co_return state;
    }
    const auto status = co_await services_.status();
    switch (status) {
    case HelperServiceStatus::requiresApproval:
        co_return HelperState::requiresApproval();
    case HelperServiceStatus::enabled:
        co_return state; // the handshake's own failure says more than "enabled"
    case HelperServiceStatus::notRegistered:
    case HelperServiceStatus::notFound:
        break;
    }
    co_return HelperState::notRegistered();
}

QCoro::Task<HelperState> SMCDriverActor::handshake() {
    try {
        const double uptime =
            resultOf<HelperReply::Uptime>(co_await withHelperProxy(HelperMethod::heartbeat)).seconds;
        lastKnownUptime_ = uptime;
        startHeartbeatLoopIfNeeded();
        HALVOREN_LOG_DEFAULT(logDriver, "helper handshake OK (XPC)");
        co_return HelperState::connected();
    } catch (const DriverFailure& failure) {
        HALVOREN_LOG_ERROR(logDriver, "helper handshake failed: %s", failure.what());
        co_return HelperState::unavailable("helper handshake failed: " + failure.message());
    }
}

QCoro::Task<HelperState> SMCDriverActor::registerHelper() {
    const auto status = co_await services_.status();
    if (status == HelperServiceStatus::notRegistered || status == HelperServiceStatus::notFound) {
        const auto failure = co_await services_.registerService();
        if (failure) {
            HALVOREN_LOG_ERROR(logDriver, "SMAppService register failed: %s", failure->c_str());
            co_return HelperState::unavailable("register failed: " + *failure);
        }
    }
    co_return co_await resolveState();
}

QCoro::Task<HelperState> SMCDriverActor::unregisterHelper() {
    // The fans go back while the helper can still be reached.
    try {
        co_await withHelperProxy(HelperMethod::restoreAutomaticControl);
    } catch (const DriverFailure&) {
    }
    teardownConnection();
    const auto failure = co_await services_.unregisterService();
    if (failure) {
        HALVOREN_LOG_ERROR(logDriver, "SMAppService unregister failed: %s", failure->c_str());
    }
    co_return co_await resolveState();
}

QCoro::Task<HelperState> SMCDriverActor::bounceHelper() {
    try {
        co_await withHelperProxy(HelperMethod::restoreAutomaticControl);
    } catch (const DriverFailure&) {
    }
    teardownConnection();
    co_await services_.unregisterService(); // a failure here shows in the registration that follows
    co_return co_await registerHelper();
}

QCoro::Task<SMCDriverActor::Heartbeat> SMCDriverActor::heartbeat() {
    const double uptime =
        resultOf<HelperReply::Uptime>(co_await withHelperProxy(HelperMethod::heartbeat)).seconds;
    co_return Heartbeat{uptime, recordUptime(uptime)};
}

QCoro::Task<std::string> SMCDriverActor::daemonVersion() {
    co_return resultOf<HelperReply::Version>(co_await withHelperProxy(HelperMethod::helperVersion)).text;
}

QCoro::Task<double> SMCDriverActor::setTargetRPM(int fan, double rpm) {
    // Read once; only a reopen of the bridge asks again.
    if (!cachedFanCount_) {
        cachedFanCount_ = fanReader_ ? fanReader_->fanCount() : 0;
    }
    if (fan >= *cachedFanCount_) {
        throw DriverFailure::fanIndexOutOfRange(fan);
    }
    std::optional<Bounds> bounds;
    try {
        bounds = hardwareBounds(fan);
    } catch (const SMCError&) {
        // An unknown limit doesn't block the write: the helper clamps to the real ones.
    }
    // Without limits the request is still vetted on its own, against bounds that hold any RPM.
    const auto verdict = bounds ? WritePolicy::vet(rpm, bounds->min, bounds->max)
                                : WritePolicy::vet(rpm, 0.0, std::numeric_limits<double>::max());
    if (verdict.isReject()) {
        throw DriverFailure::rejected(verdict.reason());
    }
    const double now = timers_.clock().monotonicNow();
    if (const auto sent = sentTargets_.find(fan); connection_ && sent != sentTargets_.end() &&
                                                  sent->second.requested == rpm &&
                                                  (now - sent->second.sentAt < targetRefreshInterval ||
                                                   (sent->second.polled && sent->second.confirmed))) {
        co_return sent->second.applied;
    }
    const std::uint64_t generation = sentTargetsGeneration_;
    double applied = 0.0;
    try {
        // The request goes out as given: the helper is the last place that clamps.
        applied =
            resultOf<HelperReply::Applied>(co_await withHelperProxy(HelperMethod::setTargetRPM, fan, rpm))
                .rpm;
    } catch (...) {
        forgetSentTargets();
        throw;
    }
    if (generation == sentTargetsGeneration_) {
        sentTargets_[fan] =
            SentTarget{.requested = rpm, .applied = applied, .sentAt = now, .confirmed = true};
    }
    co_return applied;
}

QCoro::Task<void> SMCDriverActor::restoreAuto() {
    forgetSentTargets();
    co_await withHelperProxy(HelperMethod::restoreAutomaticControl);
}

void SMCDriverActor::observeFans(const std::vector<FanStatus>& fans) {
    for (const FanStatus& fan : fans) {
        if (const auto sent = sentTargets_.find(fan.id); sent != sentTargets_.end()) {
            // The controller's target key may round the written value.
            const bool held = fan.isManaged && std::fabs(fan.targetRPM - sent->second.applied) <= 1.0;
            sent->second.confirmed = sent->second.confirmed && held;
            sent->second.polled = true;
        }
    }
}

void SMCDriverActor::forgetSentTargets() {
    sentTargets_.clear();
    ++sentTargetsGeneration_;
}

void SMCDriverActor::openLoginItemsSettings() {
    services_.openApproval();
}

SMCDriverActor::Bounds SMCDriverActor::hardwareBounds(int fan) {
    if (const auto hit = boundsCache_.find(fan); hit != boundsCache_.end()) {
        return hit->second;
    }
    if (!activeBridge_) {
        throw SMCError::serviceNotFound();
    }
    const Bounds bounds{activeBridge_->read(FanKey::minimum(fan)), activeBridge_->read(FanKey::maximum(fan))};
    boundsCache_[fan] = bounds;
    return bounds;
}

QCoro::Task<HelperReply::Outcome> SMCDriverActor::withHelperProxy(HelperMethod method, int fan, double rpm) {
    const auto connection = ensureConnection();
    const auto guard = std::make_shared<HelperConnection::CallGuard>();
    const std::weak_ptr<int> alive = lifetime_;
    guard->attachTimeout(timers_.schedule(HelperConstants::xpcCallTimeout, [guard, alive] {
        // Once the driver is gone nothing may resume into it.
        if (!alive.expired() && !guard->claim()) {
            guard->fail(DriverFailure::of(DriverError::timedOut));
        }
    }));
    connection->send(HelperRequest{.id = nextRequestId_++, .method = method, .fan = fan, .rpm = rpm}, guard);
    try {
        co_return co_await *guard;
    } catch (const DriverFailure& failure) {
        // A silent helper counts as a lost one, once: calls that time out after the connection
        // was replaced leave the new one alone.
        if (failure.is(DriverError::timedOut) && connection_ == connection) {
            teardownConnection();
            notifyConnectionLoss();
        }
        throw;
    }
}

std::shared_ptr<HelperConnection> SMCDriverActor::ensureConnection() {
    if (connection_) {
        return connection_;
    }
    auto connection = std::make_shared<HelperConnection>(helperSocketPath_, &eventContext_);
    connection_ = connection;
    forgetSentTargets();
    const std::weak_ptr<int> alive = lifetime_;
    const std::weak_ptr<HelperConnection> weak = connection;
    connection->open(HelperConnection::Handlers{
        .connected =
            [this, alive, weak] {
                const auto current = weak.lock();
                if (!alive.expired() && current && current == connection_) {
                    HelperExitSafety::mirrorConnection(current->descriptor());
                }
            },
        .dropped =
            [this, alive, weak](bool interrupted) {
                if (interrupted) {
                    HALVOREN_LOG_DEFAULT(logDriver, "helper XPC connection interrupted");
                } else {
                    HALVOREN_LOG_DEFAULT(logDriver, "helper XPC connection invalidated");
                }
                const auto dropped = weak.lock();
                if (!alive.expired() && dropped) {
                    connectionDropped(dropped.get());
                }
            },
    });
    return connection;
}

void SMCDriverActor::connectionDropped(const HelperConnection* dropped) {
    // Events of a connection that was already replaced change nothing.
    if (!connection_ || connection_.get() != dropped) {
        return;
    }
    cancelHeartbeat();
    connection_.reset();
    lastKnownUptime_.reset();
    forgetSentTargets();
    HelperExitSafety::clearConnection();
    notifyConnectionLoss();
}

void SMCDriverActor::teardownConnection() {
    cancelHeartbeat();
    const auto connection = std::exchange(connection_, nullptr);
    lastKnownUptime_.reset();
    forgetSentTargets();
    HelperExitSafety::clearConnection(); // before the descriptor closes
    if (connection) {
        connection->close();
    }
}

void SMCDriverActor::notifyConnectionLoss() {
    if (!connectionLossHandler_) {
        return;
    }
    QMetaObject::invokeMethod(
        &eventContext_,
        [this] {
            if (connectionLossHandler_) {
                connectionLossHandler_();
            }
        },
        Qt::QueuedConnection);
}

void SMCDriverActor::startHeartbeatLoopIfNeeded() {
    if (heartbeatTask_) {
        return;
    }
    heartbeatTask_ = std::make_shared<HeartbeatLoop>();
    // The task is not kept: the loop's own handle ends it.
    [[maybe_unused]] auto task = runHeartbeatLoop(heartbeatTask_);
}

void SMCDriverActor::cancelHeartbeat() {
    if (const auto loop = std::exchange(heartbeatTask_, nullptr)) {
        loop->cancel();
    }
}

QCoro::Task<void> SMCDriverActor::runHeartbeatLoop(std::shared_ptr<HeartbeatLoop> loop) {
    const std::weak_ptr<int> alive = lifetime_;
    while (!loop->cancelled) {
        co_await HeartbeatLoop::sleep(loop, timers_, HelperConstants::heartbeatInterval);
        if (loop->cancelled || alive.expired()) {
            co_return;
        }
        try {
            auto outcome = co_await withHelperProxy(HelperMethod::heartbeat);
            if (loop->cancelled || alive.expired()) {
                co_return; // the answer of a connection that is gone
            }
            recordUptime(resultOf<HelperReply::Uptime>(std::move(outcome)).seconds);
        } catch (const DriverFailure& failure) {
            // A timeout already tore the link down and cancelled this loop; other errors wait
            // for the next round.
            if (alive.expired()) {
                co_return;
            }
            HALVOREN_LOG_ERROR(logDriver, "heartbeat failed: %s", failure.what());
        }
    }
}

bool SMCDriverActor::recordUptime(double uptime) {
    const auto previous = std::exchange(lastKnownUptime_, uptime);
    const bool restarted = previous && uptime < *previous;
    if (restarted) {
        forgetSentTargets();
        HALVOREN_LOG_DEFAULT(logDriver,
                             "helper daemon restarted (uptime reset) — manual state must be re-engaged");
    }
    return restarted;
}

} // namespace halvoren
