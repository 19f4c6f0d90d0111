#include "helper/peer_credentials.h"

#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace halvoren {
namespace {

std::size_t bufferSize(int name) {
    const long size = ::sysconf(name);
    return size > 0 ? static_cast<std::size_t>(size) : 4096;
}

// Every group the user database puts the user in, its login group included; none for a user
// it doesn't know.
std::vector<gid_t> groupsOf(uid_t uid) {
    std::vector<char> buffer(bufferSize(_SC_GETPW_R_SIZE_MAX));
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(uid, &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    if (found == nullptr) {
        return {};
    }
    std::vector<gid_t> groups(32);
    int count = static_cast<int>(groups.size());
    while (::getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) < 0) {
        groups.resize(static_cast<std::size_t>(count) > groups.size() ? static_cast<std::size_t>(count)
                                                                      : groups.size() * 2);
        count = static_cast<int>(groups.size());
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

} // namespace

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
    return allowUsersAndGroups(std::move(uids), {});
}

PeerCheck allowUsersAndGroups(std::set<uid_t> uids, std::set<gid_t> gids) {
    uids.insert(0);
    return [uids = std::move(uids), gids = std::move(gids)](const PeerCredentials& peer) {
        if (uids.contains(peer.uid) || gids.contains(peer.gid)) {
            return true;
        }
        if (gids.empty()) {
            return false;
        }
        for (const gid_t gid : groupsOf(peer.uid)) {
            if (gids.contains(gid)) {
                return true;
            }
        }
        return false;
    };
}

std::optional<gid_t> groupNamed(const std::string& name) {
    std::vector<char> buffer(bufferSize(_SC_GETGR_R_SIZE_MAX));
    group entry{};
    group* found = nullptr;
    while (::getgrnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    return found != nullptr ? std::optional<gid_t>(found->gr_gid) : std::nullopt;
}

} // namespace halvoren
