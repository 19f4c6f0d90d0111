#include "engine/linux/systemd_helper_service_manager.h"

#include "engine/child_process.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <initializer_list>
#include <string_view>

namespace halvoren {
namespace {

constexpr double queryTimeout = 5.0;
// Long enough for someone to type a password into the polkit dialogue.
constexpr double privilegedTimeout = 120.0;

// The program's path, or empty when it isn't there to run.
QString located(const QString& given, const char* name) {
    const QString path = given.isEmpty() ? QStandardPaths::findExecutable(QString::fromLatin1(name)) : given;
    const QFileInfo file(path);
    return !path.isEmpty() && file.isFile() && file.isExecutable() ? path : QString();
}

// pkexec wants an absolute path, and polkit matches the action by it.
QString installedServiceControl(const QString& given) {
    const QString path =
        given.isEmpty() ? QDir(QCoreApplication::applicationDirPath())
                              .filePath(QString::fromLatin1(SystemdHelperServiceManager::serviceControlPath))
                        : given;
    const QFileInfo file(path);
    return file.isFile() && file.isExecutable() ? file.canonicalFilePath() : QString();
}

bool isOneOf(const std::string& value, std::initializer_list<std::string_view> options) {
    for (const auto option : options) {
        if (value == option) {
            return true;
        }
    }
    return false;
}

} // namespace

SystemdHelperServiceManager::SystemdHelperServiceManager(TimerSource& timers, const QString& systemctl,
                                                         const QString& pkexec,
                                                         const QString& runtimeDirectory,
                                                         const QString& serviceControl)
    : timers_(timers)
    , programs_{located(systemctl, "systemctl"), located(pkexec, "pkexec"),
                QFileInfo(runtimeDirectory.isEmpty() ? QString::fromLatin1(systemdRuntimeDirectory)
                                                     : runtimeDirectory)
                    .isDir(),
                installedServiceControl(serviceControl)} {}

HelperServiceStatus SystemdHelperServiceManager::statusFrom(const std::string& isEnabled,
                                                            const std::string& isActive) {
    if (isOneOf(isEnabled, {"enabled", "enabled-runtime", "static", "alias", "indirect", "generated"})) {
        return HelperServiceStatus::enabled;
    }
    if (isOneOf(isEnabled, {"masked", "masked-runtime"})) {
        return HelperServiceStatus::requiresApproval;
    }
    if (isActive == "active") {
        return HelperServiceStatus::enabled;
    }
    if (isOneOf(isEnabled, {"disabled", "linked", "linked-runtime"})) {
        return HelperServiceStatus::notRegistered;
    }
    return HelperServiceStatus::notFound;
}

QCoro::Task<HelperServiceStatus> SystemdHelperServiceManager::status() {
    if (programs_.systemctl.isEmpty()) {
        co_return HelperServiceStatus::notFound;
    }
    const QString unit = QString::fromLatin1(unitName);
    QStringList isEnabled;
    isEnabled << QString::fromLatin1("is-enabled") << unit;
    QStringList isActive;
    isActive << QString::fromLatin1("is-active") << unit;
    // Both commands answer through their output; their exit codes only repeat it.
    const auto enabled = co_await runProcess(programs_.systemctl, isEnabled, timers_, queryTimeout);
    const auto active = co_await runProcess(programs_.systemctl, isActive, timers_, queryTimeout);
    const auto status = statusFrom(enabled.output, active.output);
    if (status == HelperServiceStatus::enabled) {
        shared_->approvalPending = false; // approved, whoever did it
    } else if (status == HelperServiceStatus::notRegistered && shared_->approvalPending) {
        co_return HelperServiceStatus::requiresApproval;
    }
    co_return status;
}

QCoro::Task<HelperServiceManager::Failure> SystemdHelperServiceManager::registerService() {
    const auto result = co_await privileged(programs_, timers_, QString::fromLatin1("enable"));
    shared_->approvalPending = result.outcome == Outcome::refused;
    if (result.outcome == Outcome::failed) {
        co_return result.text;
    }
    co_return std::nullopt;
}

QCoro::Task<HelperServiceManager::Failure> SystemdHelperServiceManager::unregisterService() {
    shared_->approvalPending = false; // nothing is waiting for approval once the user takes it back
    const auto result = co_await privileged(programs_, timers_, QString::fromLatin1("disable"));
    if (result.outcome == Outcome::done) {
        co_return std::nullopt;
    }
    co_return result.text;
}

void SystemdHelperServiceManager::openApproval() {
    if (shared_->approvalPending) {
        [[maybe_unused]] auto task = askAgain(programs_, timers_, shared_);
    }
}

QCoro::Task<void> SystemdHelperServiceManager::askAgain(Programs programs, TimerSource& timers,
                                                        std::shared_ptr<Shared> shared) {
    const auto result = co_await privileged(std::move(programs), timers, QString::fromLatin1("enable"));
    if (result.outcome == Outcome::done) {
        shared->approvalPending = false;
    }
}

QCoro::Task<SystemdHelperServiceManager::PrivilegedResult>
SystemdHelperServiceManager::privileged(Programs programs, TimerSource& timers, QString verb) {
    if (programs.systemctl.isEmpty()) {
        co_return PrivilegedResult{Outcome::failed, "systemctl not found: the helper needs systemd"};
    }
    if (!programs.systemdRunning) {
        co_return PrivilegedResult{Outcome::failed,
                                   "systemd is not running: start halvoren-helper by hand as root"};
    }
    if (programs.pkexec.isEmpty()) {
        co_return PrivilegedResult{Outcome::failed,
                                   "pkexec not found: install polkit to authorise the helper"};
    }
    QStringList arguments;
    if (programs.serviceControl.isEmpty()) {
        arguments << programs.systemctl << verb << QString::fromLatin1("--now")
                  << QString::fromLatin1(unitName);
    } else {
        arguments << programs.serviceControl << verb;
    }
    const auto result = co_await runProcess(programs.pkexec, arguments, timers, privilegedTimeout);
    if (!result.ran) {
        co_return PrivilegedResult{Outcome::failed, result.failure};
    }
    if (result.exitCode == 0) {
        co_return PrivilegedResult{Outcome::done, {}};
    }
    const std::string detail = result.errorOutput.empty() ? "" : ": " + result.errorOutput;
    if (isRefusal(result.exitCode)) {
        co_return PrivilegedResult{Outcome::refused, "authentication refused" + detail};
    }
    const std::string command = "systemctl " + verb.toStdString() + " --now " + unitName;
    co_return PrivilegedResult{Outcome::failed,
                               command + " failed with code " + std::to_string(result.exitCode) + detail};
}

} // namespace halvoren
