#pragma once

#include "core/helper_messages.h"
#include "engine/fan_driver.h"
#include "engine/helper_connection.h"
#include "engine/helper_service_manager.h"
#include "engine/helper_state.h"
#include "platform/timer_source.h"
#include "smc/smc_fan_reader.h"
#include "smc/smc_kernel_bridge.h"

#include <QObject>
#include <QString>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <qcoro/qcorotask.h>
#include <utility>

namespace halvoren {

// The owner of everything that touches the hardware from the application's side: the SMC read
// connection and the one connection to the fan-control helper. It registers the helper, resolves
// the state of the link, runs the heartbeat, sends every write, turns a silent helper into a
// prompt error and leaves the exit hook behind.
//
// It lives on the main thread and is used from there only; socket I/O runs on that thread's
// event loop and every wait goes through the TimerSource. Failures of helper calls are thrown
// as DriverFailure. Calls still waiting when the driver is destroyed are never resumed, so
// their callers must not outlive it.
class SMCDriverActor final : public FanDriver {
public:
    using BridgeFactory = std::function<std::shared_ptr<SMCKernelBridge>()>;

    struct Heartbeat {
        double uptime = 0.0;
        bool restarted = false; // the uptime went down: the helper started anew
    };

    // The default: this machine's controller, or nothing, with the reason logged. `hwmonRoot` as
    // for openSystemTransport.
    static std::shared_ptr<SMCKernelBridge> openRealBridge(const std::filesystem::path& hwmonRoot = {});

    // Opens the bridge at once; creation never fails, a missing controller is only logged.
    SMCDriverActor(
        TimerSource& timers, QString helperSocketPath, HelperServiceManager& services,
        BridgeFactory bridgeFactory = [] { return openRealBridge(); });
    ~SMCDriverActor() override;
    SMCDriverActor(const SMCDriverActor&) = delete;
    SMCDriverActor& operator=(const SMCDriverActor&) = delete;

    // The bridge of the first open, fixed at creation.
    std::shared_ptr<SMCKernelBridge> sharedBridge() const override { return sharedBridge_; }
    void setConnectionLossHandler(std::function<void()> handler) override {
        connectionLossHandler_ = std::move(handler);
    }

    QCoro::Task<HelperState> currentState() override;
    QCoro::Task<HelperState> registerHelper() override;
    QCoro::Task<HelperState> unregisterHelper() override;
    // Replaces a running helper with the installed one: unregister, then register again.
    QCoro::Task<HelperState> bounceHelper() override;
    QCoro::Task<HelperState> handshake();

    QCoro::Task<Heartbeat> heartbeat();
    QCoro::Task<std::string> daemonVersion() override;
    // Returns the target the helper applied. A target equal to the one this connection sent is
    // answered from memory without a message: the helper keeps a fan where its client put it for
    // as long as the heartbeats come, and the loop asks ten times a second. It goes out again
    // `targetRefreshInterval` after it was sent if a poll since showed the fan not held there
    // (the firmware took it back, as a machine's sleep does, or another program wrote it), or if
    // no poll was shown to the driver at all.
    QCoro::Task<double> setTargetRPM(int fan, double rpm) override;
    static constexpr double targetRefreshInterval = 1.0; // seconds
    QCoro::Task<void> restoreAuto() override;
    void observeFans(const std::vector<FanStatus>& fans) override;

    // The bridge in use, or a fresh one from the factory when there is none yet.
    std::shared_ptr<SMCKernelBridge> reopenBridgeIfNeeded() override;
    void openLoginItemsSettings() override;

private:
    struct HeartbeatLoop;
    struct Bounds {
        double min = 0.0;
        double max = 0.0;
    };
    struct SentTarget {
        double requested = 0.0;
        double applied = 0.0;
        double sentAt = 0.0;    // monotonic seconds
        bool confirmed = false; // every poll since the write found the fan held at `applied`
        bool polled = false;    // some poll since the write was shown to the driver
    };

    QCoro::Task<HelperState> resolveState();
    // The single gate for every helper message.
    QCoro::Task<HelperReply::Outcome> withHelperProxy(HelperMethod method, int fan = 0, double rpm = 0.0);
    std::shared_ptr<HelperConnection> ensureConnection();
    void connectionDropped(const HelperConnection* dropped);
    void teardownConnection();
    // The loss handler runs from the event loop, never inside a driver call, so it may call the
    // driver again at once.
    void notifyConnectionLoss();

    void startHeartbeatLoopIfNeeded();
    QCoro::Task<void> runHeartbeatLoop(std::shared_ptr<HeartbeatLoop> loop);
    void cancelHeartbeat();
    // Stores the new uptime; true, with a log line, when it is below the last one.
    bool recordUptime(double uptime);

    // Throws SMCError: serviceNotFound without a bridge, or the failed read.
    Bounds hardwareBounds(int fan);
    void useBridge(std::shared_ptr<SMCKernelBridge> bridge);
    // After anything that may have moved a fan behind the driver's back: a new or lost
    // connection, a restarted helper, a hand-back, a failed write.
    void forgetSentTargets();

    TimerSource& timers_;
    QString helperSocketPath_;
    HelperServiceManager& services_;
    // Parent of the sockets and context of queued events: neither outlives the driver.
    QObject eventContext_;
    // Expires with the driver: callbacks and the heartbeat loop check it before touching it.
    std::shared_ptr<int> lifetime_ = std::make_shared<int>(0);

    std::shared_ptr<SMCKernelBridge> sharedBridge_;
    std::shared_ptr<SMCKernelBridge> activeBridge_;
    std::unique_ptr<SMCFanReader> fanReader_;
    std::map<int, Bounds> boundsCache_;
    std::optional<int> cachedFanCount_;
    std::map<int, SentTarget> sentTargets_;
    std::uint64_t sentTargetsGeneration_ = 0; // a write stores its answer only if unchanged
    bool didInstallExitSafety_ = false;
    BridgeFactory bridgeFactory_;
    std::shared_ptr<HelperConnection> connection_;
    std::shared_ptr<HeartbeatLoop> heartbeatTask_;
    std::optional<double> lastKnownUptime_;
    std::function<void()> connectionLossHandler_;
    std::uint64_t nextRequestId_ = 1;
};

} // namespace halvoren
