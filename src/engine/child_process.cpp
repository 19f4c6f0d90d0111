#include "engine/child_process.h"

#include "engine/continuation_guard.h"

#include <QObject>
#include <QProcess>
#include <memory>

namespace halvoren {
namespace {

// Races `signal` of the process (and, for a start, its failure to start) against a timer.
template <class Signal>
QCoro::Task<bool> awaitSignal(QProcess& process, Signal signal, TimerSource& timers, double timeoutSeconds) {
    const auto guard = std::make_shared<ContinuationGuard<bool>>();
    const auto settle = [guard](bool reached) {
        if (!guard->claim()) {
            guard->resume(reached);
        }
    };
    QObject context; // the connections end with this wait
    QObject::connect(&process, signal, &context, [settle] { settle(true); });
    QObject::connect(&process, &QProcess::errorOccurred, &context, [settle](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) {
            settle(false);
        }
    });
    guard->attachTimeout(timers.schedule(timeoutSeconds, [settle] { settle(false); }));
    co_return co_await *guard;
}

} // namespace

QCoro::Task<bool> awaitStarted(QProcess& process, TimerSource& timers, double timeoutSeconds) {
    switch (process.state()) {
    case QProcess::Running:
        co_return true;
    case QProcess::NotRunning:
        co_return false;
    case QProcess::Starting:
        break;
    }
    co_return co_await awaitSignal(process, &QProcess::started, timers, timeoutSeconds);
}

QCoro::Task<bool> awaitFinished(QProcess& process, TimerSource& timers, double timeoutSeconds) {
    if (process.state() == QProcess::NotRunning) {
        co_return true;
    }
    co_return co_await awaitSignal(process, &QProcess::finished, timers, timeoutSeconds);
}

QCoro::Task<ProcessResult> runProcess(QString program, QStringList arguments, TimerSource& timers,
                                      double timeoutSeconds) {
    QProcess process;
    process.setProgram(program);
    process.setArguments(arguments);
    process.start();
    ProcessResult result;
    const bool started = co_await awaitStarted(process, timers, timeoutSeconds);
    if (!started) {
        result.failure = "cannot start " + program.toStdString() + ": " + process.errorString().toStdString();
        co_return result;
    }
    const bool finished = co_await awaitFinished(process, timers, timeoutSeconds);
    if (!finished) {
        process.kill();
        co_await awaitFinished(process, timers, timeoutSeconds);
        result.failure = program.toStdString() + " did not finish within the time allowed";
        co_return result;
    }
    result.output = process.readAllStandardOutput().trimmed().toStdString();
    result.errorOutput = process.readAllStandardError().trimmed().toStdString();
    if (process.exitStatus() != QProcess::NormalExit) {
        result.failure = program.toStdString() + " crashed";
        co_return result;
    }
    result.ran = true;
    result.exitCode = process.exitCode();
    co_return result;
}

} // namespace halvoren
