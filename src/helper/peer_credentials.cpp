#include "helper/peer_credentials.h"

#include <sys/socket.h>
#include <unistd.h>

namespace halvoren {

std::optional<PeerCredentials> peerCredentials(int fd) {
#if defined(SO_PEERCRED)
    ucred credentials{};
    socklen_t length = sizeof credentials;
    if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) < 0 ||
        length != sizeof credentials) {
        return std::nullopt;
    }
    return PeerCredentials{credentials.pid, credentials.uid, credentials.gid};
#else
    PeerCredentials peer;
    if (::getpeereid(fd, &peer.uid, &peer.gid) < 0) {
        return std::nullopt;
    }
    return peer;
#endif
}

PeerCheck allowUsers(std::set<uid_t> uids) {
    uids.insert(0);
    return [uids = std::move(uids)](const PeerCredentials& peer) { return uids.contains(peer.uid); };
}

} // namespace halvoren
