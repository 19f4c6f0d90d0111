#pragma once

#include "../smc/temp_directory.h"
#include "fakes/forcing_client.h"
#include "fakes/helper_process.h"
#include "helper/helper_daemon.h"
#include "helper/smc_fan_writer.h"
#include "sim/simulated_mac.h"
#include "sim/simulated_smc_transport.h"

#include <QCoreApplication>
#include <QStringList>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace halvoren::test {

using namespace std::chrono_literals;

// Every wait in these tests ends after this, so a failure cannot hang the run.
inline constexpr auto patience = 5s;

// A test whose daemon lives on this thread's Qt event loop, in an application named as the daemon.
class WithQtApplication : public ::testing::Test {
protected:
    int argc = 1;
    char name[16] = "halvoren-helper";
    char* argv[2] = {name, nullptr};
    QCoreApplication app{argc, argv};
};

// A client of the helper socket on a plain descriptor, so that tests can misbehave in ways
// a well-made client cannot. While it waits it runs the Qt event loop, since the daemon under
// test lives on this same thread.
class TestClient {
public:
    explicit TestClient(const std::string& path)
        : fd_(testing::connectTo(path)) {}

    // Sends every byte, letting the daemon read when the socket is full. False when the
    // daemon closed the connection or the wait ran out.
    bool sendRaw(std::string_view bytes) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        while (!bytes.empty() && std::chrono::steady_clock::now() < deadline) {
            const long n = UnixSocket::sendNoSignal(fd_.get(), bytes.data(), bytes.size());
            if (n > 0) {
                bytes.remove_prefix(static_cast<std::size_t>(n));
            } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
                pump();
            } else {
                return false;
            }
        }
        pump();
        return bytes.empty();
    }
    bool send(const std::string& json) { return sendRaw(frameBytes(json)); }

    // The next reply's payload; none when the daemon closed the connection or nothing came
    // in time (closed() tells which).
    std::optional<std::string> receive() {
        std::optional<std::string> payload;
        until([&] { return (payload = reader_.next()) || closed_ || reader_.failed(); });
        return payload;
    }

    // Sends a request and returns its reply as JSON; null JSON when none came.
    nlohmann::json call(const std::string& json) {
        const auto reply = send(json) ? receive() : std::nullopt;
        return reply ? nlohmann::json::parse(*reply) : nlohmann::json();
    }

    // Waits for the daemon to close the connection; true when it did.
    bool waitForClose() {
        return until([&] { return closed_; });
    }
    // True when the daemon closed the connection without ever sending a byte on it.
    bool closedWithoutAnswer() { return waitForClose() && received_ == 0; }
    bool closed() const { return closed_; }

    void close() {
        fd_.reset();
        pump();
    }

    // Lets the daemon run briefly.
    static void pump() {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

private:
    // Runs the daemon and reads what it sent until `done` holds; false when the wait ran out.
    template <class Done>
    bool until(Done done) {
        const auto deadline = std::chrono::steady_clock::now() + patience;
        for (; !done(); pump(), readAvailable()) {
            if (std::chrono::steady_clock::now() >= deadline) {
                return false;
            }
        }
        return true;
    }

    void readAvailable() {
        pollfd entry{fd_.get(), POLLIN, 0};
        if (::poll(&entry, 1, 1) <= 0) {
            return;
        }
        char buffer[65536];
        for (;;) {
            const long n = ::recv(fd_.get(), buffer, sizeof buffer, 0);
            if (n > 0) {
                received_ += static_cast<std::size_t>(n);
                reader_.append(std::string_view(buffer, static_cast<std::size_t>(n)));
            } else if (n < 0 && errno == EINTR) {
                continue;
            } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
                return;
            } else {
                closed_ = true; // an orderly close, or a reset when our requests went unread
                return;
            }
        }
    }

    UnixSocket::FileDescriptor fd_;
    FrameReader reader_;
    bool closed_ = false;
    std::size_t received_ = 0;
};

// The daemon in this process over a simulated Mac, by default the two-fan laptop (fan 0:
// 1200...5800 RPM, fan 1: 1300...6300), on a manual clock; it lets everyone in and listens in
// its own directory unless `options` say otherwise. Make a QCoreApplication first.
struct SimulatedDaemon {
    explicit SimulatedDaemon(HelperServer::Options options = {},
                             MachineProfile profile = *MachineProfile::builtIn("apple-silicon-laptop-2fan"))
        : mac(std::make_shared<SimulatedMac>(std::move(profile), clock, 7, idleLoad()))
        , daemon(writer, timers, withPath(std::move(options))) {
        daemon.start();
    }

    HelperServer::Options withPath(HelperServer::Options options) const {
        if (options.path.empty()) {
            options.path = socketPath;
        }
        if (!options.allowPeer) {
            options.allowPeer = [](const PeerCredentials&) { return true; };
        }
        return options;
    }

    SimulatedFan fan(int i) { return mac->fans().at(static_cast<std::size_t>(i)); }
    // Whether fan `i` is forced, and to what.
    std::pair<bool, double> held(int i) { return {fan(i).forced, fan(i).target}; }
    bool anyFanForced() { return std::ranges::any_of(mac->fans(), &SimulatedFan::forced); }

    testing::TempDirectory directory;
    std::string socketPath = (directory / "helper.sock").string();
    ManualClock clock;
    ManualTimerSource timers{clock};
    std::shared_ptr<SimulatedMac> mac;
    SMCFanWriter writer{std::make_shared<SMCKernelBridge>(std::make_unique<SimulatedSMCTransport>(mac)),
                        "simulated", clock};
    HelperDaemon daemon;
};

inline std::string setManual(std::uint64_t id, int fan, bool enabled) {
    return nlohmann::json{{"id", id}, {"method", "setManualControl"}, {"fan", fan}, {"enabled", enabled}}
        .dump();
}
inline std::string call(std::uint64_t id, const std::string& method) {
    return nlohmann::json{{"id", id}, {"method", method}}.dump();
}

// Collects the log lines of this process while alive.
class LogCapture {
public:
    LogCapture() {
        lines().clear();
        previous_ = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { lines().append(text); });
    }
    ~LogCapture() { qInstallMessageHandler(previous_); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    static QStringList& lines() {
        static QStringList captured;
        return captured;
    }
    static qsizetype count(const QString& start) {
        return std::count_if(lines().begin(), lines().end(),
                             [&](const QString& line) { return line.startsWith(start); });
    }

private:
    QtMessageHandler previous_;
};

using testing::Reach;

// What a client that becomes `uid` gets for a heartbeat at `path`. Runs the event loop until the
// child is done, since an in-process daemon lives on this thread. Needs root.
inline Reach exchangeAs(uid_t uid, const std::string& path) {
    sockaddr_un address{};
    UnixSocket::makeAddress(path, address);
    const std::vector<std::string> frames{frameBytes(call(1, "heartbeat"))};
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::_exit(static_cast<int>(testing::exchangeInChild(address, frames, uid)));
    }
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + 2 * patience;
    while (pid > 0 && ::waitpid(pid, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            break;
        }
        TestClient::pump();
        ::usleep(1000);
    }
    return pid > 0 && WIFEXITED(status) ? static_cast<Reach>(WEXITSTATUS(status)) : Reach::noAnswer;
}

} // namespace halvoren::test
