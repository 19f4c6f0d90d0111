#include "engine/simulated_helper_service_manager.h"

#include "engine/child_process.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace halvoren {
namespace {

constexpr double socketPollInterval = 0.05;

} // namespace

SimulatedHelperServiceManager::SimulatedHelperServiceManager(TimerSource& timers, Options options)
    : timers_(timers)
    , options_(std::move(options))
    , helperPath_(
          options_.helperPath.isEmpty()
              ? QDir(QCoreApplication::applicationDirPath()).filePath(QString::fromLatin1("halvoren-helper"))
              : options_.helperPath) {}

SimulatedHelperServiceManager::~SimulatedHelperServiceManager() {
    // The helper ends with the application that started it.
    if (isRunning()) {
        process_->kill();
        process_->waitForFinished(1000);
    }
}

bool SimulatedHelperServiceManager::isRunning() const {
    return process_ && process_->state() != QProcess::NotRunning;
}

QCoro::Task<HelperServiceStatus> SimulatedHelperServiceManager::status() {
    co_return isRunning() ? HelperServiceStatus::enabled : HelperServiceStatus::notRegistered;
}

QCoro::Task<HelperServiceManager::Failure> SimulatedHelperServiceManager::registerService() {
    if (isRunning()) {
        co_return std::nullopt;
    }
    const QFileInfo helper(helperPath_);
    if (!helper.isFile() || !helper.isExecutable()) {
        co_return "no helper executable at " + helperPath_.toStdString();
    }
    // A socket left by an earlier child would pass for the new one listening.
    QFile::remove(options_.helperSocketPath);
    process_ = std::make_unique<QProcess>();
    process_->setProgram(helperPath_);
    QStringList arguments;
    arguments << QString::fromLatin1("--simulate=") + options_.profile << QString::fromLatin1("--socket")
              << options_.helperSocketPath << QString::fromLatin1("--smc-socket") << options_.smcSocketPath;
    process_->setArguments(arguments);
    process_->setProcessChannelMode(QProcess::ForwardedChannels);
    process_->start();
    const bool started = co_await awaitStarted(*process_, timers_, options_.startTimeout);
    if (!started) {
        co_return "cannot start " + helperPath_.toStdString() + ": " + process_->errorString().toStdString();
    }
    // The handshake that follows a registration needs the helper listening already.
    for (double waited = 0.0; waited < options_.startTimeout; waited += socketPollInterval) {
        if (!isRunning()) {
            co_return "the helper exited at start with code " + std::to_string(process_->exitCode());
        }
        if (QFileInfo::exists(options_.helperSocketPath)) {
            break;
        }
        co_await sleepFor(timers_, socketPollInterval);
    }
    co_return std::nullopt; // still not listening: the handshake will tell
}

QCoro::Task<HelperServiceManager::Failure> SimulatedHelperServiceManager::unregisterService() {
    if (!isRunning()) {
        co_return std::nullopt;
    }
    process_->terminate();
    const bool terminated = co_await awaitFinished(*process_, timers_, options_.stopGrace);
    if (terminated) {
        co_return std::nullopt;
    }
    process_->kill();
    const bool killed = co_await awaitFinished(*process_, timers_, options_.stopGrace);
    if (killed) {
        co_return std::nullopt;
    }
    co_return "the helper did not exit";
}

} // namespace halvoren
