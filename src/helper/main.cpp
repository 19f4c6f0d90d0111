// halvoren-helper: the privileged fan-control daemon. See README.md, "The fan-control helper".

#include "core/helper_constants.h"
#include "helper/hardware_fan_writer.h"
#include "helper/helper_daemon.h"
#include "helper/helper_log.h"
#include "helper/helper_options.h"
#include "helper/peer_credentials.h"
#include "helper/process_signals.h"
#include "helper/smc_fan_writer.h"
#include "platform/termination_signals.h"
#include "platform/timer_source.h"
#include "sim/load_scenario.h"
#include "sim/machine_profile.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"
#include "smc/smc_error.h"
#include "smc/smc_socket_server.h"
#include "smc/socket_smc_transport.h"
#include "smc/unix_socket.h"

#include <QCoreApplication>
#include <csignal>
#include <cstdio>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace halvoren {
namespace {

// Why the daemon cannot run; main prints it and exits with status 1 after everything made so
// far is torn down.
class StartupError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

[[noreturn]] void quit(const std::string& message) {
    throw StartupError(message);
}

// The directory of a socket, or why the daemon cannot run.
void prepareSocketDirectory(const std::string& socketPath, mode_t socketMode,
                            UnixSocket::ExistingDirectory existing = UnixSocket::ExistingDirectory::keep) {
    try {
        UnixSocket::makeSocketDirectory(socketPath, socketMode, existing);
    } catch (const std::system_error& error) {
        quit(error.what());
    }
}

MachineProfile simulatedProfile(const std::string& name) {
    try {
        return MachineProfile::named(name);
    } catch (const ProfileError& error) {
        quit(error.what());
    }
}

int run(const HelperOptions& options) {
    const uid_t self = ::getuid();
    std::set<uid_t> allowed = options.extraUids;
    allowed.insert(self);
    HelperServer::Options serverOptions;
    serverOptions.path = options.socketPath;
    std::set<gid_t> allowedGroups;
    for (const std::string& name : options.allowedGroups) {
        const auto gid = groupNamed(name);
        if (!gid) {
            quit("no group named \"" + name + "\" (--allow-group)");
        }
        allowedGroups.insert(*gid);
    }
    serverOptions.socketMode = socketModeFor(options.extraUids, self, !allowedGroups.empty());
    serverOptions.allowPeer = allowUsersAndGroups(allowed, allowedGroups);
    // Before the simulated controller's socket, which may go beside this one: that socket is
    // private, and so would be a directory made for it.
    prepareSocketDirectory(options.socketPath, serverOptions.socketMode,
                           options.ownSocketDirectory ? UnixSocket::ExistingDirectory::letPass
                                                      : UnixSocket::ExistingDirectory::keep);
    if ((serverOptions.socketMode & S_IWOTH) != 0) {
        if (const auto closed = UnixSocket::directoryClosedToOthers(options.socketPath)) {
            qCWarning(logHelper).noquote()
                << QStringLiteral("Other allowed users may not reach the socket: %1 does not let them pass "
                                  "(--socket can put it elsewhere)")
                       .arg(QString::fromStdString(*closed));
        }
    }

    // The simulated Mac, when hosted here, and its controller's socket outlive the daemon.
    std::shared_ptr<SimulatedMac> mac;
    std::unique_ptr<SimulatedSMCTransport> servedTransport;
    std::unique_ptr<SMCSocketServer> smcServer;
    std::unique_ptr<FanWriter> writer;
    if (options.simulateProfile) {
        mac = std::make_shared<SimulatedMac>(simulatedProfile(*options.simulateProfile),
                                             SystemClock::shared(), 1, hostLoad());
        servedTransport = std::make_unique<SimulatedSMCTransport>(mac);
        smcServer = std::make_unique<SMCSocketServer>(*servedTransport, options.smcSocketPath);
        prepareSocketDirectory(options.smcSocketPath, S_IRUSR | S_IWUSR);
        try {
            smcServer->start();
        } catch (const std::system_error& error) {
            quit("cannot serve the simulated controller on " + options.smcSocketPath + ": " + error.what());
        }
        auto bridge = std::make_shared<SMCKernelBridge>(std::make_unique<SimulatedSMCTransport>(mac));
        writer =
            std::make_unique<SMCFanWriter>(bridge, "simulated " + mac->profile().name, SystemClock::shared());
    } else if (!options.smcSocketPath.empty()) {
        try {
            auto bridge = std::make_shared<SMCKernelBridge>(
                std::make_unique<SocketSMCTransport>(options.smcSocketPath));
            writer = std::make_unique<SMCFanWriter>(bridge, "simulator at " + options.smcSocketPath,
                                                    SystemClock::shared());
        } catch (const SMCError& error) {
            quit("cannot reach the simulator at " + options.smcSocketPath + ": " + error.what());
        }
    } else {
        writer = openHardwareFanWriter(options.sysfsRoot);
        if (!writer) {
            quit("no fan this helper can drive under " + options.sysfsRoot +
                 ": neither an applesmc device nor a hwmon device with a writable pwmN_enable and a "
                 "fanN_target (--simulate drives a simulated Mac instead)");
        }
        // Only plain file writes are possible in a crash handler. The controller-key writers above
        // need none: a machine hosted here dies with the process, and the host behind
        // --smc-socket sees this connection close and hands every fan back itself.
        installCrashHandBack(writer->handBackFiles());
    }

    QtTimerSource timers;
    HelperDaemon daemon(*writer, timers, std::move(serverOptions));
    TerminationSignals termination([&daemon](int signal) {
        daemon.stop(signal == SIGTERM ? "received SIGTERM" : "received SIGINT");
        QCoreApplication::exit(0);
    });
    try {
        daemon.start();
    } catch (const std::system_error& error) {
        quit("cannot listen on " + options.socketPath + ": " + error.what());
    }
    HALVOREN_LOG_DEFAULT(logHelper).noquote() << QStringLiteral("Serving %1 fans of %2 on %3")
                                                     .arg(writer->fanCount())
                                                     .arg(QString::fromStdString(writer->description()),
                                                          QString::fromStdString(options.socketPath));
    return QCoreApplication::exec();
}

} // namespace
} // namespace halvoren

int main(int argc, char** argv) {
    using namespace halvoren;
    // A daemon has no use for GLib's main loop; Qt's own dispatcher costs less a wake-up.
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName("halvoren-helper");
    QCoreApplication::setApplicationVersion(
        QString::fromUtf8(helperBuildVersion.data(), static_cast<qsizetype>(helperBuildVersion.size())));
    std::signal(SIGPIPE, SIG_IGN); // a client that vanishes mid-answer is an error, not a death

    HelperCommandLine commandLine;
    try {
        commandLine = parseHelperCommandLine(QCoreApplication::arguments());
    } catch (const CommandLineError& error) {
        std::fprintf(stderr, "halvoren-helper: %s (see --help)\n", error.what());
        return 2;
    }
    if (commandLine.helpRequested) {
        std::fputs(commandLine.helpText.toLocal8Bit().constData(), stdout);
        return 0;
    }
    try {
        return run(commandLine.options);
    } catch (const StartupError& error) {
        std::fprintf(stderr, "halvoren-helper: %s\n", error.what());
        return 1;
    }
}
