#include "../process_test_support.h"
#include "engine/linux/systemd_helper_service_manager.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

using Failure = HelperServiceManager::Failure;
using Status = HelperServiceStatus;

TEST_F(ProcessTest, SystemdStatusComesFromTheUnitStateAndPolkitAuthorisesChanges) {
    using Systemd = SystemdHelperServiceManager;
    EXPECT_EQ(Systemd::statusFrom("static", "inactive"), Status::enabled);
    EXPECT_EQ(Systemd::statusFrom("masked", "inactive"), Status::requiresApproval);
    EXPECT_EQ(Systemd::statusFrom("disabled", "active"), Status::enabled); // started by hand
    EXPECT_EQ(Systemd::statusFrom("disabled", "inactive"), Status::notRegistered);
    EXPECT_EQ(Systemd::statusFrom("", "inactive"), Status::notFound); // no such unit

    const auto absent = dir.filePath(QStringLiteral("absent"));
    Systemd without(timers, absent, absent);
    EXPECT_EQ(run(without.status()), Status::notFound);
    EXPECT_EQ(run(without.registerService()), "systemctl not found: the helper needs systemd");

    const auto systemctl =
        script(QStringLiteral("systemctl"),
               "case \"$1\" in is-enabled) echo masked; exit 1;; *) echo inactive; exit 3;; esac");
    Systemd noPolkit(timers, systemctl, absent);
    EXPECT_EQ(run(noPolkit.status()), Status::requiresApproval);
    EXPECT_EQ(run(noPolkit.unregisterService()), "pkexec not found: install polkit to authorise the helper");

    const auto log = dir.path().toStdString() + "/pkexec";
    Systemd refused(timers, systemctl,
                    script(QStringLiteral("pkexec-refusing"),
                           "echo \"$@\" >> \"" + log + "\"\necho 'Not authorized' >&2\nexit 127"));
    EXPECT_EQ(run(refused.registerService()),
              "systemctl enable --now halvoren-helper.service failed with code 127: Not authorized");
    Systemd allowed(timers, systemctl,
                    script(QStringLiteral("pkexec-allowing"), "echo \"$@\" >> \"" + log + "\""));
    EXPECT_EQ(run(allowed.unregisterService()), Failure{});
    EXPECT_EQ(read(QStringLiteral("pkexec")),
              systemctl.toStdString() + " enable --now halvoren-helper.service\n" + systemctl.toStdString() +
                  " disable --now halvoren-helper.service\n");
}

} // namespace
} // namespace halvoren
