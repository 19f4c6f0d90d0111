#pragma once

#include "core/frame_codec.h"
#include "helper/peer_credentials.h"

#include <QPointer>
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

namespace halvoren {

// The helper's Unix socket: accepts clients, checks who they are, cuts their byte streams into
// frames and writes the answers back, all on the calling thread's event loop without ever
// waiting on a client. A client is closed without an answer when its credentials are refused,
// when a frame has no readable id (the handler returns none), when it declares a frame above
// the limit, and when it leaves more than `maxPendingOutput` bytes of answers unread.
class HelperServer {
public:
    // A frame's payload in, its answer's payload out, or none to close that connection.
    using FrameHandler = std::function<std::optional<std::string>(std::string_view)>;

    struct Options {
        std::string path;
        // Who may connect is decided by `allowPeer`; the mode only keeps others from trying.
        mode_t socketMode = S_IRUSR | S_IWUSR;
        PeerCheck allowPeer;
        std::size_t maxPendingOutput = std::size_t{1} << 20;
        std::size_t maxClients = 64;
    };

    // `lastClientGone` runs whenever the number of accepted clients drops to zero.
    HelperServer(Options options, FrameHandler handler, std::function<void()> lastClientGone);
    ~HelperServer();
    HelperServer(const HelperServer&) = delete;
    HelperServer& operator=(const HelperServer&) = delete;

    // Binds the path with the mode (replacing a stale socket file, never a live one) and
    // starts accepting. Throws std::system_error.
    void listen();
    // Closes every connection and removes the socket file; does nothing when not listening.
    // Does not call `lastClientGone`.
    void close();

    std::size_t clientCount() const { return clients_.size(); }

private:
    struct Client {
        QLocalSocket* socket = nullptr; // a child of the server
        FrameReader reader;
        PeerCredentials peer;
    };

    void accept();
    void readFrom(std::uint64_t id);
    void drop(std::uint64_t id, const QString& reason);
    void forget(std::uint64_t id);

    Options options_;
    FrameHandler handler_;
    std::function<void()> lastClientGone_;
    std::unique_ptr<QLocalServer> server_;
    std::map<std::uint64_t, Client> clients_;
    std::uint64_t nextId_ = 0;
    // The socket file we made, so that close() never removes one that replaced it.
    dev_t fileDevice_ = 0;
    ino_t fileInode_ = 0;
};

} // namespace halvoren
