#include "app/application_shell.h"

#include "app/app_log.h"
#include "app/engine_host.h"
#include "app/run_marker.h"
#include "engine/halvoren_engine.h"
#include "platform/data_directory.h"
#include "platform/termination_signals.h"

#include <QApplication>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>
#include <csignal>
#include <iostream>

namespace halvoren {

struct ApplicationShell::Views {};

ApplicationShell::ApplicationShell(LaunchOptions options, QString dataDirectory)
    : host_(std::make_unique<EngineHost>(std::move(options)))
    , runMarkerPath_(RunMarker::path(dataDirectory.isEmpty() ? applicationDataDirectory() : dataDirectory))
    , views_(std::make_unique<Views>()) {}

ApplicationShell::~ApplicationShell() {
    // The views read the engine: they go first.
    views_.reset();
    termination_.reset();
    host_.reset();
}

int ApplicationShell::exec() {
    HALVOREN_LOG_DEFAULT(logApp) << "launched";
    if (const auto failure = host_->build()) {
        std::cerr << "halvoren: " << *failure << std::endl;
        return 2;
    }
    // A kill from outside goes through the whole way out, so the fans are handed back.
    termination_ = std::make_unique<TerminationSignals>([this](int signal) {
        if (signal == SIGTERM) {
            HALVOREN_LOG_DEFAULT(logApp) << "SIGTERM received from outside the app — terminating gracefully";
        }
        quit();
    });
    [[maybe_unused]] auto marker = QtConcurrent::run(
        QThreadPool::globalInstance(), [path = runMarkerPath_] { RunMarker::checkAndWrite(path); });
    QApplication::setQuitOnLastWindowClosed(false);

    HalvorenEngine& engine = host_->engine();
    host_->start([](const std::string& problem) { std::cerr << "halvoren: " << problem << std::endl; });
    (void)engine;
    return QApplication::exec();
}

void ApplicationShell::quit() {
    HALVOREN_LOG_DEFAULT(logApp) << "quit requested";
    host_->shutDown([path = runMarkerPath_](int code) {
        HALVOREN_LOG_DEFAULT(logApp) << "terminating";
        RunMarker::remove(path);
        QApplication::exit(code);
    });
}

bool displayAvailable() {
#if defined(__APPLE__)
    return true;
#else
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
#endif
}

} // namespace halvoren
