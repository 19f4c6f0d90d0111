#pragma once

#include <functional>
#include <optional>
#include <set>
#include <sys/types.h>

namespace halvoren {

// Who is at the other end of a connected Unix socket, as the kernel vouches for it.
struct PeerCredentials {
    pid_t pid = 0; // 0 where the system does not tell
    uid_t uid = 0;
    gid_t gid = 0;
};

// The credentials of the peer of `fd`, or none when the system cannot tell.
std::optional<PeerCredentials> peerCredentials(int fd);

// Decides whether a peer may control the fans.
using PeerCheck = std::function<bool(const PeerCredentials&)>;

// Allows root and the given users.
PeerCheck allowUsers(std::set<uid_t> uids);

} // namespace halvoren
