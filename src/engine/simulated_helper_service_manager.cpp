#include "engine/simulated_helper_service_manager.h"

#include "engine/child_process.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

#if defined(__linux__)
#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>
#endif

namespace halvoren {
namespace {

constexpr double socketPollInterval = 0.05;

// A killed application must not leave its helper behind: on Linux the child gets SIGTERM, on
// which it hands the fans back and exits, when its parent dies. In a process group of its own,
// a Ctrl-C in the terminal reaches only the application, which hands the fans back through it
// before it goes.
void tieToParent([[maybe_unused]] QProcess& process) {
#if defined(__linux__)
    const pid_t parent = ::getpid();
    process.setChildProcessModifier([parent] {
        ::setpgid(0, 0);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (::getppid() != parent) { // the parent died before the line above took effect
            ::raise(SIGTERM);
        }
    });
#endif
}

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

qint64 SimulatedHelperServiceManager::processId() const {
    return isRunning() ? process_->processId() : 0;
}

bool SimulatedHelperServiceManager::isRunning() const {
    return process_ && process_->state() != QProcess::NotRunning;
}

QCoro::Task<HelperServiceStatus> SimulatedHelperServiceManager::status() {
    if (!registered_) {
        co_return HelperServiceStatus::notRegistered;
    }
    const Failure failure = co_await launch();
    co_return failure ? HelperServiceStatus::notFound : HelperServiceStatus::enabled;
}

QCoro::Task<HelperServiceManager::Failure> SimulatedHelperServiceManager::registerService() {
    registered_ = true;
    Failure failure = co_await launch();
    if (failure) {
        registered_ = false;
    }
    co_return failure;
}

QCoro::Task<HelperServiceManager::Failure> SimulatedHelperServiceManager::unregisterService() {
    registered_ = false;
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

QCoro::Task<HelperServiceManager::Failure> SimulatedHelperServiceManager::launch() {
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
    process_->setArguments({QString::fromLatin1("--socket"), options_.helperSocketPath,
                            QString::fromLatin1("--smc-socket"), options_.smcSocketPath});
    process_->setProcessChannelMode(QProcess::ForwardedChannels);
    tieToParent(*process_);
    process_->start();
    const bool started = co_await awaitStarted(*process_, timers_, options_.startTimeout);
    if (!started) {
        co_return "cannot start " + helperPath_.toStdString() + ": " + process_->errorString().toStdString();
    }
    // The handshake that follows needs the helper listening already.
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

} // namespace halvoren
