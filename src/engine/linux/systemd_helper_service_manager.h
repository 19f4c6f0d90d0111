#pragma once

#include "engine/helper_service_manager.h"
#include "platform/timer_source.h"

#include <QString>

namespace halvoren {

// The helper as a systemd system service: its unit file state gives the status, and polkit
// (through pkexec) authorises enabling and disabling it.
class SystemdHelperServiceManager final : public HelperServiceManager {
public:
    static constexpr const char* unitName = "halvoren-helper.service";

    // Programs are looked up in PATH unless given; a missing one makes every operation report
    // it rather than fail obscurely.
    explicit SystemdHelperServiceManager(TimerSource& timers, QString systemctl = {}, QString pkexec = {});

    QCoro::Task<HelperServiceStatus> status() override;
    QCoro::Task<Failure> registerService() override;
    QCoro::Task<Failure> unregisterService() override;
    // Polkit asks at registration time; there is no separate place to approve.
    void openApproval() override {}

    // Maps the output of `systemctl is-enabled` and `is-active`: an enabled unit, or one
    // running although not enabled, is enabled; a masked one needs an administrator; a
    // disabled one is not registered; anything else means the unit isn't installed.
    static HelperServiceStatus statusFrom(const std::string& isEnabled, const std::string& isActive);

private:
    QCoro::Task<Failure> privileged(const QString& verb);

    TimerSource& timers_;
    QString systemctl_;
    QString pkexec_;
};

} // namespace halvoren
