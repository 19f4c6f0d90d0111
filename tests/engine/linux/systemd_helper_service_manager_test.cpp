#include "../process_test_support.h"
#include "engine/linux/systemd_helper_service_manager.h"


namespace halvoren {
namespace {

using Failure = HelperServiceManager::Failure;
using Status = HelperServiceStatus;
using Systemd = SystemdHelperServiceManager;

TEST(SystemdHelperStatus, ComesFromTheUnitFileStateThenWhetherItRuns) {
    const struct {
        const char* isEnabled;
        const char* isActive;
        Status expected;
    } cases[] = {
        {"enabled", "inactive", Status::enabled},
        {"static", "inactive", Status::enabled},
        {"masked", "active", Status::requiresApproval},
        {"disabled", "active", Status::enabled}, // started by hand
        {"disabled", "inactive", Status::notRegistered},
        {"linked", "failed", Status::notRegistered},
        {"", "inactive", Status::notFound}, // no such unit
        {"", "", Status::notFound},         // systemd not running
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Systemd::statusFrom(c.isEnabled, c.isActive), c.expected)
            << c.isEnabled << "/" << c.isActive;
    }
}

TEST_F(ProcessTest, SystemdHelperSaysWhatIsMissing) {
    const auto absent = dir.filePath(QStringLiteral("absent"));
    const auto running = dir.path();
    const auto systemctl = script(QStringLiteral("systemctl"), "echo disabled; exit 1");
    const auto pkexec = script(QStringLiteral("pkexec"), "exit 0");

    Systemd noSystemctl(timers, absent, pkexec, running);
    EXPECT_EQ(run(noSystemctl.status()), Status::notFound);
    EXPECT_EQ(run(noSystemctl.registerService()), "systemctl not found: the helper needs systemd");
    Systemd notBooted(timers, systemctl, pkexec, absent);
    EXPECT_EQ(run(notBooted.registerService()),
              "systemd is not running: start halvoren-helper by hand as root");
    Systemd noPolkit(timers, systemctl, absent, running);
    EXPECT_EQ(run(noPolkit.status()), Status::notRegistered);
    EXPECT_EQ(run(noPolkit.unregisterService()), "pkexec not found: install polkit to authorise the helper");

    // With the installed service control program, pkexec runs that rather than systemctl.
    const auto log = dir.path().toStdString() + "/log";
    const auto logging = script(QStringLiteral("pkexec-logging"), "echo \"$@\" >> '" + log + "'");
    const auto control = script(QStringLiteral("control"), "exit 0");
    Systemd controlled(timers, systemctl, logging, running, control);
    EXPECT_EQ(run(controlled.registerService()), Failure{});
    EXPECT_EQ(read(QStringLiteral("log")), control.toStdString() + " enable\n");
}

// A fake systemctl whose unit state is a file the fake pkexec rewrites when it runs
// `systemctl enable|disable`, as the real pair would.
TEST_F(ProcessTest, SystemdHelperEnablesAndDisablesThroughPolkitAndWaitsForApprovalWhenRefused) {
    const auto state = dir.path().toStdString() + "/state";
    const auto log = dir.path().toStdString() + "/log";
    const auto systemctl = script(QStringLiteral("systemctl"), "case \"$1\" in is-enabled) cat '" + state +
                                                                   "';; is-active) echo inactive;; esac");
    // The exit code comes from the file "answer"; on success the verb becomes the unit state.
    const auto answer = dir.path().toStdString() + "/answer";
    const auto pkexec =
        script(QStringLiteral("pkexec"), "echo \"$@\" >> '" + log + "'\ncode=$(cat '" + answer +
                                             "')\n[ \"$code\" = 0 ] && echo \"$2d\" > '" + state +
                                             "'\necho refused-or-failed >&2\nexit $code");
    const auto set = [](const std::string& path, const std::string& text) {
        QFile file(QString::fromStdString(path));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.c_str());
    };
    const std::string unit = " --now halvoren-helper.service";

    const struct {
        const char* operation;
        int pkexecCode;
        Failure failure;
        Status after;
        Status afterApprovalAsked; // openApproval, then the status once it has run
    } cases[] = {
        {"register", 0, {}, Status::enabled, Status::enabled},
        {"register", 126, {}, Status::requiresApproval, Status::enabled},
        {"register", 127, {}, Status::requiresApproval, Status::enabled},
        {"register", 1, "systemctl enable" + unit + " failed with code 1: refused-or-failed",
         Status::notRegistered, Status::notRegistered},
        {"unregister", 0, {}, Status::notRegistered, Status::notRegistered},
        {"unregister", 126, "authentication refused: refused-or-failed", Status::enabled, Status::enabled},
    };
    for (const auto& c : cases) {
        const bool registering = std::string(c.operation) == "register";
        SCOPED_TRACE(std::string(c.operation) + " " + std::to_string(c.pkexecCode));
        set(state, registering ? "disabled\n" : "enabled\n");
        set(answer, std::to_string(c.pkexecCode));
        set(log, "");
        Systemd systemd(timers, systemctl, pkexec, dir.path());
        EXPECT_EQ(run(registering ? systemd.registerService() : systemd.unregisterService()), c.failure);
        EXPECT_EQ(read(QStringLiteral("log")),
                  systemctl.toStdString() + (registering ? " enable" : " disable") + unit + "\n");
        EXPECT_EQ(run(systemd.status()), c.after);

        set(answer, "0"); // this time the user gives the password
        systemd.openApproval();
        EXPECT_TRUE(pumpUntil([&] { return run(systemd.status()) == c.afterApprovalAsked; }, 5000));
        // Nothing waits for approval any more: a unit disabled behind its back reads as such.
        set(state, "disabled\n");
        EXPECT_TRUE(pumpUntil([&] { return run(systemd.status()) == Status::notRegistered; }, 5000));
    }
}

} // namespace
} // namespace halvoren
