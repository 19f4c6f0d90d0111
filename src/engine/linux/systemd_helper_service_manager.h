#pragma once

#include "engine/helper_service_manager.h"
#include "platform/timer_source.h"

#include <QString>
#include <memory>

namespace halvoren {

// The helper as a systemd system service: its unit file state gives the status, and polkit
// (through pkexec) authorises enabling and starting it, or stopping and disabling it.
//
// Refusing polkit's authentication leaves the helper waiting for approval: the status reads
// requiresApproval (until the unit is enabled some other way or the helper is unregistered),
// and openApproval asks polkit again.
class SystemdHelperServiceManager final : public HelperServiceManager {
public:
    static constexpr const char* unitName = "halvoren-helper.service";
    // Present exactly when systemd is the running service manager (sd_booted(3)).
    static constexpr const char* systemdRuntimeDirectory = "/run/systemd/system";

    // The installed program that enables or disables the unit, and nothing else, so that
    // polkit asks for the helper's own action; found beside the application's program.
    static constexpr const char* serviceControlPath = "../libexec/halvoren/halvoren-helper-service";

    // Programs are looked up in PATH unless given; a missing one makes every operation report
    // it rather than fail obscurely. `runtimeDirectory` stands in for systemdRuntimeDirectory.
    // Without the service control program, pkexec runs systemctl itself.
    explicit SystemdHelperServiceManager(TimerSource& timers, const QString& systemctl = {},
                                         const QString& pkexec = {}, const QString& runtimeDirectory = {},
                                         const QString& serviceControl = {});

    QCoro::Task<HelperServiceStatus> status() override;
    QCoro::Task<Failure> registerService() override;
    QCoro::Task<Failure> unregisterService() override;
    void openApproval() override;

    // Maps the output of `systemctl is-enabled` and `is-active`: an enabled unit, or one
    // running although not enabled, is enabled; a masked one needs an administrator; a
    // disabled one is not registered; anything else means the unit isn't installed.
    static HelperServiceStatus statusFrom(const std::string& isEnabled, const std::string& isActive);

    // pkexec's exit codes when the user dismissed or failed the authentication.
    static bool isRefusal(int pkexecExitCode) { return pkexecExitCode == 126 || pkexecExitCode == 127; }

private:
    struct Programs {
        QString systemctl;
        QString pkexec;
        bool systemdRunning = false;
        QString serviceControl;
    };
    // Outlives the manager while a privileged command started by openApproval runs.
    struct Shared {
        bool approvalPending = false;
    };
    enum class Outcome { done, refused, failed };
    struct PrivilegedResult {
        Outcome outcome = Outcome::failed;
        std::string text;
    };

    static QCoro::Task<PrivilegedResult> privileged(Programs programs, TimerSource& timers, QString verb);
    static QCoro::Task<void> askAgain(Programs programs, TimerSource& timers, std::shared_ptr<Shared> shared);

    TimerSource& timers_;
    Programs programs_;
    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
};

} // namespace halvoren
