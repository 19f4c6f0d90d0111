#pragma once

// The real fan-control daemon as a child process, and a plain client of its socket: shared by the
// tests that start the daemon against a simulated Mac.

#include "core/frame_codec.h"
#include "smc/unix_socket.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <array>
#include <chrono>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

namespace halvoren::testing {

using Deadline = std::chrono::steady_clock::time_point;

inline Deadline after(std::chrono::milliseconds span) {
    return std::chrono::steady_clock::now() + span;
}

// Polls `done` every millisecond until it holds or `deadline` passes.
template <class Predicate>
bool waitUntil(Deadline deadline, Predicate done) {
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// A connected socket, or an invalid descriptor when nobody listens at `path`.
inline UnixSocket::FileDescriptor connectTo(const std::string& path) {
    sockaddr_un address{};
    UnixSocket::makeAddress(path, address);
    auto fd = UnixSocket::streamSocket();
    if (::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        fd.reset();
    }
    return fd;
}

// One request over a connected socket and its reply, waiting at most a few seconds; null JSON
// when none came.
inline nlohmann::json callHelper(int fd, const std::string& request) {
    const auto frame = frameBytes(request);
    const auto deadline = after(std::chrono::milliseconds(5000));
    if (UnixSocket::sendAll(fd, reinterpret_cast<const std::uint8_t*>(frame.data()), frame.size(),
                            deadline)) {
        return nullptr;
    }
    std::array<std::uint8_t, 4> header{};
    if (UnixSocket::receiveAll(fd, header.data(), header.size(), deadline)) {
        return nullptr;
    }
    std::string payload((header[0] << 24) | (header[1] << 16) | (header[2] << 8) | header[3], '\0');
    if (UnixSocket::receiveAll(fd, reinterpret_cast<std::uint8_t*>(payload.data()), payload.size(),
                               deadline)) {
        return nullptr;
    }
    return nlohmann::json::parse(payload);
}

inline std::string setTargetRequest(std::uint64_t id, int fan, double rpm) {
    return nlohmann::json{{"id", id}, {"method", "setTargetRPM"}, {"fan", fan}, {"rpm", rpm}}.dump();
}

// The daemon at `binary` with `arguments`, its log on stderr, killed when the test is done.
class HelperProcess {
public:
    HelperProcess(const QString& binary, const QStringList& arguments) {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_FORCE_STDERR_LOGGING", "1");
        process.setProcessEnvironment(environment);
        process.setProcessChannelMode(QProcess::SeparateChannels);
        process.start(binary, arguments);
    }
    ~HelperProcess() {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished(5000);
        }
    }
    HelperProcess(const HelperProcess&) = delete;
    HelperProcess& operator=(const HelperProcess&) = delete;

    bool waitForSocket(const std::string& path) {
        // A sanitizer build takes a while to start.
        return waitUntil(after(std::chrono::milliseconds(20000)), [&] { return connectTo(path).valid(); });
    }

    QProcess process;
};

} // namespace halvoren::testing
