#pragma once

#include "core/frame_codec.h"
#include "helper/client_id.h"
#include "helper/peer_credentials.h"
#include "platform/timer_source.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <sys/types.h>

class QLocalServer;
class QLocalSocket;
class QString;

namespace halvoren {

// The helper's Unix socket: accepts clients, checks who they are, cuts their byte streams into
// frames and writes the answers back, all on the calling thread's event loop without ever
// waiting on a client. A client is closed without an answer when its credentials are refused,
// when its user already has `maxClientsPerUser` connections, when a frame has no readable id
// (the handler returns none), when it declares a frame above the limit, when a frame it started
// is not complete after `frameTimeout` seconds, and when it leaves more than `maxPendingOutput`
// bytes of answers unread. Refused connections are logged at most once per `refusalLogInterval`,
// with a count of those left out.
class HelperServer {
public:
    // A frame's payload from a client in, its answer's payload out, or none to close that
    // connection.
    using FrameHandler = std::function<std::optional<std::string>(ClientId, std::string_view)>;
    // A client that was accepted is gone, however it went, except through close().
    using ClientGone = std::function<void(ClientId)>;

    struct Options {
        std::string path;
        // Who may connect is decided by `allowPeer`; the mode only keeps others from trying.
        mode_t socketMode = S_IRUSR | S_IWUSR;
        PeerCheck allowPeer;
        std::size_t maxPendingOutput = std::size_t{1} << 20;
        std::size_t maxClientsPerUser = 16;
        double frameTimeout = 5.0;
        double refusalLogInterval = 5.0;
    };

    HelperServer(Options options, TimerSource& timers, FrameHandler handler, ClientGone clientGone);
    ~HelperServer();
    HelperServer(const HelperServer&) = delete;
    HelperServer& operator=(const HelperServer&) = delete;

    // Binds the path with the mode (replacing a stale socket file, never a live one) and
    // starts accepting. Throws std::system_error.
    void listen();
    // Closes every connection and removes the socket file; does nothing when not listening.
    // Does not call `clientGone`.
    void close();

    std::size_t clientCount() const { return clients_.size(); }

private:
    struct Client {
        QLocalSocket* socket = nullptr; // a child of the server
        FrameReader reader;
        PeerCredentials peer;
        // Bytes read, and bytes of the frames cut from them: a difference is a frame begun.
        std::uint64_t bytesRead = 0;
        std::uint64_t bytesFramed = 0;
        TimerHandle frameDeadline;
        bool frameDeadlineArmed = false;
    };

    void accept();
    std::optional<QString> refusal(const std::optional<PeerCredentials>& peer) const;
    void logRefusal(const QString& line);
    void flushRefusals();
    void readFrom(ClientId id);
    // Starts the clock on a frame begun, or stops it once none is; `newFrame` when a frame
    // completed since the deadline was set, so that a frame begun after it gets its own time.
    void watchFrame(ClientId id, Client& client, bool newFrame);
    void drop(ClientId id, const QString& reason);
    void forget(ClientId id);
    void release(Client& client);

    Options options_;
    TimerSource& timers_;
    FrameHandler handler_;
    ClientGone clientGone_;
    std::unique_ptr<QLocalServer> server_;
    std::map<ClientId, Client> clients_;
    ClientId nextId_ = 0;
    // The socket file we made, so that close() never removes one that replaced it.
    dev_t fileDevice_ = 0;
    ino_t fileInode_ = 0;
    // Refusals not logged since the last line, and when that line went out.
    std::optional<double> lastRefusalLogged_;
    std::size_t refusalsUnlogged_ = 0;
    TimerHandle refusalFlush_;
};

} // namespace halvoren
