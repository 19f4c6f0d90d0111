#include "app/headless_run.h"

#include "app/engine_host.h"
#include "app/status_line.h"
#include "core/competing_fan_controllers.h"
#include "engine/halvoren_engine.h"
#include "platform/clock.h"
#include "platform/running_programs.h"
#include "platform/termination_signals.h"

#include <QCoreApplication>
#include <QTimer>
#include <iostream>
#include <set>

namespace halvoren {
namespace {

// Says each distinct problem once, on stderr, so a server's log shows what is missing.
class ProblemReporter {
public:
    void report(const std::string& text) {
        if (said_.insert(text).second) {
            std::cerr << "halvoren: " << text << std::endl;
        }
    }

private:
    std::set<std::string> said_;
};

std::string helperProblem(const HelperState& state, bool simulated) {
    switch (state.kind()) {
    case HelperState::Kind::connected:
    case HelperState::Kind::enabled:
        return {};
    case HelperState::Kind::notRegistered:
        return simulated ? "the simulated fan-control helper is not running; fans stay with the firmware"
                         : "the fan-control helper is not installed or not running (see packaging/systemd); "
                           "sensors are read, fans stay with the firmware";
    case HelperState::Kind::requiresApproval:
        return "the fan-control helper is waiting for approval; fans stay with the firmware";
    case HelperState::Kind::unavailable:
        break;
    }
    return "fan control is unavailable: " + state.reason();
}

} // namespace

HeadlessRun::HeadlessRun(LaunchOptions options)
    : host_(std::make_unique<EngineHost>(std::move(options))) {}

HeadlessRun::~HeadlessRun() = default;

int HeadlessRun::exec() {
    if (const auto failure = host_->build()) {
        std::cerr << "halvoren: " << *failure << std::endl;
        return 2;
    }
    HalvorenEngine& engine = host_->engine();
    const LaunchOptions& options = host_->options();
    ProblemReporter problems;
    const bool simulated = host_->simulated();
    engine.helperState().observe([&](const HelperState& state) {
        if (const std::string problem = helperProblem(state, simulated); !problem.empty()) {
            problems.report(problem);
        }
    });
    const auto reportClosedController = [&] {
        if (!engine.smcAvailable().value()) {
            problems.report(
                smcUnavailableDescription(competingFanControllerName(runningProgramIdentifiers())));
        }
    };
    engine.smcAvailable().observe([&](bool) { reportClosedController(); });
    // The field starts false, so a controller that never opens shows no change: look once the
    // first passes are done.
    QTimer::singleShot(2000, reportClosedController);

    host_->start([&](const std::string& problem) { problems.report(problem); });

    QTimer status;
    if (options.statusJson) {
        QObject::connect(&status, &QTimer::timeout, [&] {
            std::cout << statusLine(engine, SystemClock::shared().wallNow()).dump() << std::endl;
        });
        status.start(1000);
    }
    TerminationSignals termination([this](int) { shutDown(); });
    QTimer duration;
    if (options.duration) {
        duration.setSingleShot(true);
        QObject::connect(&duration, &QTimer::timeout, [this] { shutDown(); });
        duration.start(static_cast<int>(*options.duration * 1000.0));
    }
    return QCoreApplication::exec();
}

void HeadlessRun::shutDown() {
    host_->shutDown([](int code) { QCoreApplication::exit(code); });
}

} // namespace halvoren
