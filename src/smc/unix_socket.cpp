#include "smc/unix_socket.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace halvoren::UnixSocket {
namespace {

#ifdef MSG_NOSIGNAL
constexpr int sendFlags = MSG_NOSIGNAL;
#else
constexpr int sendFlags = 0;
#endif

bool setFlags(int fd) {
    const int status = ::fcntl(fd, F_GETFL);
    if (status < 0 || ::fcntl(fd, F_SETFL, status | O_NONBLOCK) < 0) {
        return false;
    }
    const int descriptor = ::fcntl(fd, F_GETFD);
    if (descriptor < 0 || ::fcntl(fd, F_SETFD, descriptor | FD_CLOEXEC) < 0) {
        return false; // NOLINT(readability-simplify-boolean-expr): Apple platforms add a check below
    }
#ifdef SO_NOSIGPIPE
    const int on = 1;
    if (::setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on) < 0) {
        return false;
    }
#endif
    return true;
}

// Waits until `fd` is ready for `events` or the deadline passes. 0 when ready (or hung
// up, which the following transfer reports), else an errno value.
int waitFor(int fd, short events, Deadline deadline) {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            return ETIMEDOUT;
        }
        pollfd entry{fd, events, 0};
        const int ready = ::poll(&entry, 1, static_cast<int>(left.count()));
        if (ready > 0) {
            return 0;
        }
        if (ready < 0 && errno != EINTR) {
            return errno;
        }
    }
}

[[noreturn]] void fail(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

} // namespace

void FileDescriptor::reset(int fd) {
    if (fd_ >= 0) {
        ::close(fd_);
    }
    fd_ = fd;
}

bool makeAddress(const std::string& path, sockaddr_un& address) {
    std::memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

FileDescriptor streamSocket() {
    FileDescriptor fd{::socket(AF_UNIX, SOCK_STREAM, 0)};
    if (fd.valid() && !setFlags(fd.get())) {
        const int error = errno;
        fd.reset();
        errno = error;
    }
    return fd;
}

void clearStaleSocket(const std::string& path, const sockaddr_un& address) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) < 0) {
        if (errno == ENOENT) {
            return;
        }
        fail(errno, "cannot inspect the socket path");
    }
    if (!S_ISSOCK(info.st_mode)) {
        fail(EEXIST, "the socket path holds another kind of file");
    }
    FileDescriptor probe = streamSocket();
    if (!probe.valid()) {
        fail(errno, "cannot create a socket");
    }
    if (::connect(probe.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
        errno != ECONNREFUSED) {
        fail(EADDRINUSE, "another server listens on the socket path");
    }
    if (::unlink(path.c_str()) < 0 && errno != ENOENT) {
        fail(errno, "cannot remove the stale socket file");
    }
}

void makeSocketDirectory(const std::string& socketPath, mode_t socketMode, ExistingDirectory existing) {
    const std::filesystem::path directory = std::filesystem::path(socketPath).parent_path();
    if (directory.empty()) {
        return;
    }
    const mode_t mode = (socketMode & S_IWOTH) != 0 ? 0711 : 0700;
    const auto failWith = [&](int error, const std::string& what) {
        throw std::system_error(error, std::generic_category(), what + " " + directory.string());
    };
    std::error_code ignored; // a parent that cannot be made fails at mkdir below
    std::filesystem::create_directories(directory.parent_path(), ignored);
    if (::mkdir(directory.c_str(), mode) == 0) {
        // The umask may have taken bits away.
        if (::chmod(directory.c_str(), mode) < 0) {
            failWith(errno, "cannot set the mode of");
        }
        return;
    }
    if (errno != EEXIST) {
        failWith(errno, "cannot create");
    }
    if (existing == ExistingDirectory::keep) {
        return;
    }
    // Opened without following a link, so the mode goes to the directory that was looked at.
    const FileDescriptor fd{::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
    struct stat info {};
    if (!fd.valid() || ::fstat(fd.get(), &info) < 0) {
        return; // not a directory: binding the socket says what is wrong
    }
    if ((info.st_mode & mode) != mode && ::fchmod(fd.get(), (info.st_mode & 07777) | mode) < 0) {
        failWith(errno, "cannot set the mode of");
    }
}

std::optional<std::string> directoryClosedToOthers(const std::string& socketPath) {
    std::error_code error;
    const std::filesystem::path directory = std::filesystem::absolute(socketPath, error).parent_path();
    std::filesystem::path walked;
    for (const auto& part : directory) {
        walked /= part;
        struct stat info {};
        if (::stat(walked.c_str(), &info) == 0 && (info.st_mode & S_IXOTH) == 0) {
            return walked.string();
        }
    }
    return std::nullopt;
}

bool prepareAccepted(int fd) {
    return setFlags(fd);
}

long sendNoSignal(int fd, const void* data, std::size_t size) {
    return ::send(fd, data, size, sendFlags);
}

int sendAll(int fd, const std::uint8_t* data, std::size_t size, Deadline deadline) {
    std::size_t done = 0;
    while (done < size) {
        const long n = sendNoSignal(fd, data + done, size - done);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            if (const int error = waitFor(fd, POLLOUT, deadline)) {
                return error;
            }
        } else {
            return n < 0 ? errno : EPIPE;
        }
    }
    return 0;
}

int receiveAll(int fd, std::uint8_t* data, std::size_t size, Deadline deadline) {
    std::size_t done = 0;
    while (done < size) {
        const long n = ::recv(fd, data + done, size - done, 0);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
        } else if (n == 0) {
            return ECONNRESET;
        } else if (errno == EINTR) {
            continue;
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            if (const int error = waitFor(fd, POLLIN, deadline)) {
                return error;
            }
        } else {
            return errno;
        }
    }
    return 0;
}

} // namespace halvoren::UnixSocket
