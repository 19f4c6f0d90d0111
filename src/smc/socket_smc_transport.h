#pragma once

#include "smc/smc_transport.h"
#include "smc/unix_socket.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

namespace halvoren {

// The controller exchange carried to another process over a Unix domain stream socket.
//
// Wire format, one exchange at a time per connection:
//   request   80 bytes  SMCParamStruct::toWire() of the input (padding bytes zero)
//   response   4 bytes  status, int32 little-endian: 0 for success, else a kernel-style code
//             80 bytes  SMCParamStruct::toWire() of the output (all zero when status != 0)
// A status other than 0 is the server's failure to perform the exchange, not the
// controller's `result`, which travels inside the output image.
namespace SMCSocketWire {
inline constexpr std::size_t requestSize = 80;
inline constexpr std::size_t responseSize = 4 + 80;
} // namespace SMCSocketWire

// Calls block the calling thread up to the timeout per exchange, so they belong on a worker
// thread. A failed or timed-out exchange throws callFailed with the errno value
// (ETIMEDOUT, ECONNRESET, EPIPE...) and breaks the connection: the stream may hold half a
// frame, so every later call throws callFailed(ENOTCONN) at once. Nothing reconnects here;
// the owner makes a new transport. A non-zero status from the server throws callFailed with
// that status and leaves the connection usable.
class SocketSMCTransport final : public SMCTransport {
public:
    static constexpr std::chrono::milliseconds defaultTimeout{2000};

    // Connects at once; failure throws SMCError::openFailed(errno), ENAMETOOLONG for a path
    // that does not fit a socket address.
    explicit SocketSMCTransport(const std::string& path, std::chrono::milliseconds timeout = defaultTimeout);

    SMCParamStruct call(const SMCParamStruct& input) override;

    bool isBroken() const;

private:
    [[noreturn]] void breakConnection(int error);

    mutable std::mutex mutex_; // one frame on the stream at a time
    UnixSocket::FileDescriptor fd_;
    std::chrono::milliseconds timeout_;
};

} // namespace halvoren
