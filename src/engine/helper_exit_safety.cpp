#include "engine/helper_exit_safety.h"

#include "core/frame_codec.h"
#include "core/helper_messages.h"
#include "smc/unix_socket.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace halvoren::HelperExitSafety {
namespace {

std::atomic<int> sharedHelperConnection{-1};
std::atomic<int> hookRegistrations{0};

// The frame is encoded once, ahead of time, into storage that needs no destructor, so the hook
// itself only loads a number and writes bytes. Its id, 0, is one the driver never uses.
struct ExitFrame {
    std::array<char, 128> bytes{};
    std::size_t size = 0;
};
ExitFrame exitFrame;
std::once_flag frameOnce;

void prepareFrame() {
    std::call_once(frameOnce, [] {
        const auto frame = frameBytes(
            encodeRequest(HelperRequest{.id = 0, .method = HelperMethod::restoreAutomaticControl}));
        std::memcpy(exitFrame.bytes.data(), frame.data(), frame.size());
        exitFrame.size = frame.size();
    });
}

void exitHook() {
    sendRestore();
}

} // namespace

void mirrorConnection(int descriptor) {
    sharedHelperConnection.store(descriptor);
}

void clearConnection() {
    sharedHelperConnection.store(-1);
}

bool install() {
    static std::atomic<bool> installed{false};
    if (installed.exchange(true)) {
        return false;
    }
    prepareFrame();
    if (std::atexit(exitHook) != 0) {
        return false;
    }
    hookRegistrations.fetch_add(1);
    return true;
}

int registrations() {
    return hookRegistrations.load();
}

bool sendRestore() {
    prepareFrame();
    const int fd = sharedHelperConnection.load();
    if (fd < 0) {
        return false;
    }
    // The socket is non-blocking: a full buffer loses the frame rather than holding up the exit.
    const long sent = UnixSocket::sendNoSignal(fd, exitFrame.bytes.data(), exitFrame.size);
    return sent == static_cast<long>(exitFrame.size);
}

} // namespace halvoren::HelperExitSafety
