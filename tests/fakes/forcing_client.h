#pragma once

// Client processes of the helper daemon made with fork(), for what a client in this process cannot
// show: dying while it holds the fans, or calling as another user. Shared by the daemon's process
// tests and its benchmark. Between fork() and exit the child makes only system calls on buffers
// made before.

#include "smc/unix_socket.h"

#include <grp.h>
#include <optional>
#include <poll.h>
#include <signal.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace halvoren::testing {

// How a child's exchange went, as its exit status.
enum class Reach { answered = 0, cannotConnect = 1, noAnswer = 2, cannotBecomeUser = 3 };

// In the child: becomes `uid` (its group the same number, no other groups) when given, connects
// to `address` and sends each frame, waiting up to 5 s for each answer.
inline Reach exchangeInChild(const sockaddr_un& address, const std::vector<std::string>& frames,
                             std::optional<uid_t> uid) {
    if (uid && (::setgroups(0, nullptr) < 0 || ::setgid(*uid) < 0 || ::setuid(*uid) < 0)) {
        return Reach::cannotBecomeUser;
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        return Reach::cannotConnect;
    }
    for (const auto& frame : frames) {
        char reply[256];
        pollfd entry{fd, POLLIN, 0};
        if (::write(fd, frame.data(), frame.size()) != static_cast<long>(frame.size()) ||
            ::poll(&entry, 1, 5000) != 1 || ::read(fd, reply, sizeof reply) <= 4) {
            return Reach::noAnswer;
        }
    }
    return Reach::answered;
}

// A client that forces fans with `frames`, writes one byte to `readyFd` once every answer came and
// then waits to be killed: the stand-in for an application that dies while it holds the fans.
// Returns the child's pid (or -1).
inline pid_t forkForcingClient(const std::string& socket, const std::vector<std::string>& frames,
                               int readyFd) {
    sockaddr_un address{};
    UnixSocket::makeAddress(socket, address);
    const pid_t pid = ::fork();
    if (pid != 0) {
        return pid;
    }
    if (exchangeInChild(address, frames, std::nullopt) != Reach::answered) {
        ::_exit(1);
    }
    [[maybe_unused]] const auto written = ::write(readyFd, "k", 1);
    for (;;) {
        ::pause();
    }
}

} // namespace halvoren::testing
