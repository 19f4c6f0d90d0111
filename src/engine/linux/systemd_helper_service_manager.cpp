#include "engine/linux/systemd_helper_service_manager.h"

#include "engine/child_process.h"

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

bool isOneOf(const std::string& value, std::initializer_list<std::string_view> options) {
    for (const auto option : options) {
        if (value == option) {
            return true;
        }
    }
    return false;
}

} // namespace

SystemdHelperServiceManager::SystemdHelperServiceManager(TimerSource& timers, QString systemctl,
                                                         QString pkexec)
    : timers_(timers)
    , systemctl_(located(systemctl, "systemctl"))
    , pkexec_(located(pkexec, "pkexec")) {}

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
    if (systemctl_.isEmpty()) {
        co_return HelperServiceStatus::notFound;
    }
    const QString unit = QString::fromLatin1(unitName);
    QStringList isEnabled;
    isEnabled << QString::fromLatin1("is-enabled") << unit;
    QStringList isActive;
    isActive << QString::fromLatin1("is-active") << unit;
    // Both commands answer through their output; their exit codes only repeat it.
    const auto enabled = co_await runProcess(systemctl_, isEnabled, timers_, queryTimeout);
    const auto active = co_await runProcess(systemctl_, isActive, timers_, queryTimeout);
    co_return statusFrom(enabled.output, active.output);
}

QCoro::Task<HelperServiceManager::Failure> SystemdHelperServiceManager::registerService() {
    co_return co_await privileged(QString::fromLatin1("enable"));
}

QCoro::Task<HelperServiceManager::Failure> SystemdHelperServiceManager::unregisterService() {
    co_return co_await privileged(QString::fromLatin1("disable"));
}

QCoro::Task<HelperServiceManager::Failure> SystemdHelperServiceManager::privileged(const QString& verb) {
    if (systemctl_.isEmpty()) {
        co_return std::string("systemctl not found: the helper needs systemd");
    }
    if (pkexec_.isEmpty()) {
        co_return std::string("pkexec not found: install polkit to authorise the helper");
    }
    QStringList arguments;
    arguments << systemctl_ << verb << QString::fromLatin1("--now") << QString::fromLatin1(unitName);
    const auto result = co_await runProcess(pkexec_, arguments, timers_, privilegedTimeout);
    if (!result.ran) {
        co_return result.failure;
    }
    if (result.exitCode != 0) {
        const std::string command = "systemctl " + verb.toStdString() + " --now " + unitName;
        const std::string detail = result.errorOutput.empty() ? "" : ": " + result.errorOutput;
        co_return command + " failed with code " + std::to_string(result.exitCode) + detail;
    }
    co_return std::nullopt;
}

} // namespace halvoren
