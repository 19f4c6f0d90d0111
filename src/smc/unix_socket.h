#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

// Small POSIX pieces shared by the socket transport and its server.
namespace halvoren::UnixSocket {

// Owns one file descriptor and closes it once.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd)
        : fd_(fd) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : fd_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset(other.release());
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }
    void reset(int fd = -1);

private:
    int fd_ = -1;
};

// The address of `path`, or false when the path is empty or does not fit `sun_path`
// (with its terminating NUL).
bool makeAddress(const std::string& path, sockaddr_un& address);

// A new stream socket, close-on-exec, non-blocking, and on platforms that have no
// MSG_NOSIGNAL set never to raise SIGPIPE. Returns an invalid descriptor and leaves errno.
FileDescriptor streamSocket();

// Removes a socket file at `path` that nobody listens on any more, so that a new server can
// bind there. A live server's socket is not ours to take, and neither is a file of another
// kind: both throw std::system_error (EADDRINUSE, EEXIST), as does any other failure.
void clearStaleSocket(const std::string& path, const sockaddr_un& address);

// What makeSocketDirectory does with a directory that is there already.
enum class ExistingDirectory {
    keep,    // leaves it as it is: its owner chose its mode
    letPass, // adds the search bits that the socket's users need, when it is a directory and not
             // a link; never takes a bit away, since another server may rely on it
};

// Makes the directory a socket at `socketPath` goes into (its parents as they come). Mode 0700,
// or 0711 when `socketMode` lets other users write, since they must pass through the directory to
// connect (but need not list it). Throws std::system_error naming the directory.
void makeSocketDirectory(const std::string& socketPath, mode_t socketMode,
                         ExistingDirectory existing = ExistingDirectory::keep);

// The first directory on the way to `socketPath`, from the root down, that users other than its
// owner and group cannot pass through; none when every one lets them.
std::optional<std::string> directoryClosedToOthers(const std::string& socketPath);

// Makes an accepted descriptor like one from streamSocket. False with errno on failure.
bool prepareAccepted(int fd);

// send() that never raises SIGPIPE; a closed peer gives EPIPE instead.
long sendNoSignal(int fd, const void* data, std::size_t size);

using Deadline = std::chrono::steady_clock::time_point;

// Writes or reads exactly `size` bytes on a non-blocking descriptor, waiting in poll() up
// to `deadline`, retrying after EINTR and short transfers. Returns 0 on success or an
// errno value: ETIMEDOUT past the deadline, ECONNRESET when the peer closed before the
// last byte arrived.
int sendAll(int fd, const std::uint8_t* data, std::size_t size, Deadline deadline);
int receiveAll(int fd, std::uint8_t* data, std::size_t size, Deadline deadline);

} // namespace halvoren::UnixSocket
