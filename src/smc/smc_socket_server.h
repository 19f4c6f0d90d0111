#pragma once

#include "smc/smc_transport.h"
#include "smc/unix_socket.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <thread>

namespace halvoren {

// Serves any SMCTransport on a Unix socket path, in the wire format of SocketSMCTransport.
//
// One background thread runs a poll() loop over the listening socket, every client and a
// wake-up pipe; the backend is called from that thread only, one request at a time, so it
// needs no locking of its own against the server (it must outlive the server). A client
// whose frame is malformed, or that disconnects, is dropped without touching the others.
class SMCSocketServer {
public:
    // The status sent when the backend fails with anything but callFailed(code != 0):
    // the generic kernel error.
    static constexpr std::int32_t genericFailure = -536870212;
    // Connections beyond this are accepted and closed at once.
    static constexpr std::size_t maxClients = 64;

    // `whenIdle`, if given, runs on the server's thread each time the last connected client goes
    // (it disconnects or is dropped), never on stop(). It must not call the server.
    SMCSocketServer(SMCTransport& backend, std::string path, std::function<void()> whenIdle = {});
    ~SMCSocketServer();
    SMCSocketServer(const SMCSocketServer&) = delete;
    SMCSocketServer& operator=(const SMCSocketServer&) = delete;

    // Binds the path (mode 0600, replacing a stale socket file that nobody listens on) and
    // starts serving. Does nothing when already running. Throws std::system_error.
    void start();
    // Closes every connection, removes the socket file and joins the thread. Waits for a
    // backend call in progress. Does nothing when not running.
    void stop();
    bool isRunning() const;
    const std::string& path() const { return path_; }

private:
    void run();

    SMCTransport& backend_;
    const std::string path_;
    const std::function<void()> whenIdle_;

    mutable std::mutex mutex_; // start/stop and the fields below
    std::thread thread_;
    UnixSocket::FileDescriptor listener_;
    UnixSocket::FileDescriptor wakeRead_;
    UnixSocket::FileDescriptor wakeWrite_;
    // The socket file we created, so that stop() never removes a file that replaced it.
    dev_t fileDevice_ = 0;
    ino_t fileInode_ = 0;
};

} // namespace halvoren
