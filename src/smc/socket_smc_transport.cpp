#include "smc/socket_smc_transport.h"

#include "smc/smc_error.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <span>
#include <sys/socket.h>

namespace halvoren {
namespace {

// A non-blocking connect on a Unix socket usually completes or fails at once; where it is
// left in progress, wait for it within the exchange timeout.
int finishConnect(int fd, std::chrono::milliseconds timeout) {
    pollfd entry{fd, POLLOUT, 0};
    int ready = 0;
    do {
        ready = ::poll(&entry, 1, static_cast<int>(timeout.count()));
    } while (ready < 0 && errno == EINTR);
    if (ready == 0) {
        return ETIMEDOUT;
    }
    if (ready < 0) {
        return errno;
    }
    int error = 0;
    socklen_t length = sizeof error;
    if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) < 0) {
        return errno;
    }
    return error;
}

std::int32_t littleEndianInt32(const std::uint8_t* bytes) {
    const std::uint32_t raw = bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (std::uint32_t{bytes[3]} << 24);
    return static_cast<std::int32_t>(raw);
}

} // namespace

SocketSMCTransport::SocketSMCTransport(const std::string& path, std::chrono::milliseconds timeout)
    : timeout_(timeout) {
    sockaddr_un address{};
    if (!UnixSocket::makeAddress(path, address)) {
        throw SMCError::openFailed(ENAMETOOLONG);
    }
    UnixSocket::FileDescriptor fd = UnixSocket::streamSocket();
    if (!fd.valid()) {
        throw SMCError::openFailed(errno);
    }
    int result = 0;
    do {
        result = ::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (result < 0 && errno == EINTR);
    if (result < 0) {
        const int error = errno == EINPROGRESS ? finishConnect(fd.get(), timeout_) : errno;
        if (error != 0) {
            throw SMCError::openFailed(error);
        }
    }
    fd_ = std::move(fd);
}

SMCParamStruct SocketSMCTransport::call(const SMCParamStruct& input) {
    const std::lock_guard lock(mutex_);
    if (!fd_.valid()) {
        throw SMCError::callFailed(ENOTCONN);
    }
    const auto deadline = std::chrono::steady_clock::now() + timeout_;
    const auto request = input.toWire();
    if (const int error = UnixSocket::sendAll(fd_.get(), request.data(), request.size(), deadline)) {
        breakConnection(error);
    }
    std::array<std::uint8_t, SMCSocketWire::responseSize> response{};
    if (const int error = UnixSocket::receiveAll(fd_.get(), response.data(), response.size(), deadline)) {
        breakConnection(error);
    }
    if (const std::int32_t status = littleEndianInt32(response.data())) {
        throw SMCError::callFailed(status);
    }
    return SMCParamStruct::fromWire(std::span<const std::uint8_t, 80>(response.data() + 4, 80));
}

bool SocketSMCTransport::isBroken() const {
    const std::lock_guard lock(mutex_);
    return !fd_.valid();
}

// Closing drops whatever answer may still arrive for the abandoned request.
void SocketSMCTransport::breakConnection(int error) {
    fd_.reset();
    throw SMCError::callFailed(error);
}

} // namespace halvoren
