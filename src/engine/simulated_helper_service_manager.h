#pragma once

#include "engine/helper_service_manager.h"
#include "platform/timer_source.h"

#include <QString>
#include <memory>

class QProcess;

namespace halvoren {

// For the simulated Mac: "registering" the helper starts it as an unprivileged child process
// serving the simulated controller; it counts as enabled while the child runs.
class SimulatedHelperServiceManager final : public HelperServiceManager {
public:
    struct Options {
        QString profile;          // the machine profile the helper simulates
        QString helperSocketPath; // where the helper listens for the application
        QString smcSocketPath;    // where the application serves the simulated controller
        // The helper executable; empty means halvoren-helper next to the running program.
        QString helperPath;
        double startTimeout = 5.0; // seconds for the process to start and open its socket
        double stopGrace = 3.0;    // seconds between SIGTERM and SIGKILL
    };

    SimulatedHelperServiceManager(TimerSource& timers, Options options);
    ~SimulatedHelperServiceManager() override;

    QCoro::Task<HelperServiceStatus> status() override;
    QCoro::Task<Failure> registerService() override;
    QCoro::Task<Failure> unregisterService() override;
    void openApproval() override {} // nothing to approve for a child process

    const QString& helperPath() const { return helperPath_; }

private:
    bool isRunning() const;

    TimerSource& timers_;
    Options options_;
    QString helperPath_;
    std::unique_ptr<QProcess> process_;
};

} // namespace halvoren
