#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
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

// Allows root, the given users, and the members of the given groups: by the peer's own group,
// or by the user database's group list, read at each check so that a user added to a group
// is let in without restarting the daemon.
PeerCheck allowUsersAndGroups(std::set<uid_t> uids, std::set<gid_t> gids);

// The id of the group of this name, or none when the system has no such group.
std::optional<gid_t> groupNamed(const std::string& name);

} // namespace halvoren
