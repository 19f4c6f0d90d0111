#pragma once

// A client process of the helper daemon that sends its frames, waits for each answer, writes one
// byte to `readyFd` and then waits to be killed: the stand-in for an application that dies while
// it holds the fans. Shared by the daemon's process tests and its benchmark.

#include "smc/unix_socket.h"

#include <signal.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace halvoren::testing {

// Forks; returns the child's pid (or -1). Between fork() and death the child makes only system
// calls on buffers made before.
inline pid_t forkForcingClient(const std::string& socket, const std::vector<std::string>& frames,
                               int readyFd) {
    sockaddr_un address{};
    UnixSocket::makeAddress(socket, address);
    const pid_t pid = ::fork();
    if (pid != 0) {
        return pid;
    }
    const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        ::_exit(1);
    }
    for (const auto& frame : frames) {
        char reply[256];
        if (::write(fd, frame.data(), frame.size()) != static_cast<long>(frame.size()) ||
            ::read(fd, reply, sizeof reply) <= 4) {
            ::_exit(1);
        }
    }
    [[maybe_unused]] const auto written = ::write(readyFd, "k", 1);
    for (;;) {
        ::pause();
    }
}

} // namespace halvoren::testing
