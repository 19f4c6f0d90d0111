#pragma once

#include "engine/helper_service_manager.h"
#include "platform/timer_source.h"

#include <QString>
#include <memory>

class QProcess;

namespace halvoren {

// For the simulated Mac the application plays the service manager: registering the helper
// remembers the registration and starts it as an unprivileged child process that drives the
// simulated controller the application serves. Like a system service manager it launches a
// registered helper on demand: a status query finds a child that died and starts another.
class SimulatedHelperServiceManager final : public HelperServiceManager {
public:
    struct Options {
        QString helperSocketPath; // where the helper listens for the application
        QString smcSocketPath;    // where the application serves the simulated controller
        // The helper executable; empty means halvoren-helper next to the running program.
        QString helperPath;
        double startTimeout = 5.0; // seconds for the process to start and open its socket
        double stopGrace = 3.0;    // seconds between SIGTERM and SIGKILL
    };

    SimulatedHelperServiceManager(TimerSource& timers, Options options);
    ~SimulatedHelperServiceManager() override;

    // enabled while registered and the child runs or could be started again; notFound when
    // registered but the child cannot be started; notRegistered otherwise.
    QCoro::Task<HelperServiceStatus> status() override;
    // A registration whose start fails is not kept.
    QCoro::Task<Failure> registerService() override;
    QCoro::Task<Failure> unregisterService() override;
    // The running helper's process id, or 0 when none runs.
    qint64 processId() const;
    void openApproval() override {} // nothing to approve for a child process

    const QString& helperPath() const { return helperPath_; }

private:
    bool isRunning() const;
    // Starts the child unless it runs, and waits until it listens or the start time runs out.
    QCoro::Task<Failure> launch();

    TimerSource& timers_;
    Options options_;
    QString helperPath_;
    bool registered_ = false;
    std::unique_ptr<QProcess> process_;
};

} // namespace halvoren
