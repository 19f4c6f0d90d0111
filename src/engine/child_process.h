#pragma once

#include "platform/timer_source.h"

#include <QString>
#include <QStringList>
#include <qcoro/qcorotask.h>
#include <string>

class QProcess;

namespace halvoren {

// Waits on a child process without blocking the event loop; each wait is bounded on the timer
// source. True when the process got there within the time.
QCoro::Task<bool> awaitStarted(QProcess& process, TimerSource& timers, double timeoutSeconds);
QCoro::Task<bool> awaitFinished(QProcess& process, TimerSource& timers, double timeoutSeconds);

struct ProcessResult {
    bool ran = false;  // it started and finished normally within the time
    int exitCode = -1; // valid when `ran`
    std::string output;
    std::string errorOutput;
    std::string failure; // why it didn't run, when it didn't
};

// Runs a program to its end. One that overruns the time is killed.
QCoro::Task<ProcessResult> runProcess(QString program, QStringList arguments, TimerSource& timers,
                                      double timeoutSeconds);

} // namespace halvoren
