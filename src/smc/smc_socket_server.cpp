#include "smc/smc_socket_server.h"

#include "smc/smc_error.h"
#include "smc/socket_smc_transport.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <span>
#include <sys/socket.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace halvoren {
namespace {

using UnixSocket::FileDescriptor;

[[noreturn]] void fail(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

// The bytes of the image that toWire() always leaves zero; a request with anything there
// was not made by a client of ours.
bool paddingIsZero(const std::array<std::uint8_t, SMCSocketWire::requestSize>& frame) {
    return frame[10] == 0 && frame[11] == 0 && frame[37] == 0 && frame[43] == 0;
}

void putLittleEndian(std::uint8_t* bytes, std::int32_t value) {
    const auto raw = static_cast<std::uint32_t>(value);
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<std::uint8_t>(raw >> (8 * i));
    }
}

struct Client {
    FileDescriptor fd;
    std::array<std::uint8_t, SMCSocketWire::requestSize> request{};
    std::size_t received = 0;
    std::array<std::uint8_t, SMCSocketWire::responseSize> response{};
    std::size_t toSend = 0; // bytes of `response` still to go; 0 when reading
    bool dropped = false;
};

std::array<std::uint8_t, SMCSocketWire::responseSize> answer(SMCTransport& backend,
                                                             const std::array<std::uint8_t, 80>& request) {
    std::array<std::uint8_t, SMCSocketWire::responseSize> response{};
    std::int32_t status = 0;
    try {
        const auto output = backend.call(SMCParamStruct::fromWire(request)).toWire();
        std::copy(output.begin(), output.end(), response.begin() + 4);
    } catch (const SMCError& error) {
        const bool coded = error.kind() == SMCError::Kind::callFailed && error.code() != 0;
        status = coded ? error.code() : SMCSocketServer::genericFailure;
    } catch (...) {
        status = SMCSocketServer::genericFailure;
    }
    putLittleEndian(response.data(), status);
    return response;
}

// Sends what is left of the response without waiting; false when the client is gone.
bool flush(Client& client) {
    while (client.toSend > 0) {
        const std::size_t offset = client.response.size() - client.toSend;
        const long n =
            UnixSocket::sendNoSignal(client.fd.get(), client.response.data() + offset, client.toSend);
        if (n > 0) {
            client.toSend -= static_cast<std::size_t>(n);
        } else if (n < 0 && errno == EINTR) {
            continue;
        } else {
            return n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
        }
    }
    return true;
}

// Reads toward one request and answers it once complete; false when the client is to go.
bool serve(Client& client, SMCTransport& backend) {
    long n = 0;
    do {
        n = ::recv(client.fd.get(), client.request.data() + client.received,
                   client.request.size() - client.received, 0);
    } while (n < 0 && errno == EINTR);
    if (n == 0) {
        return false;
    }
    if (n < 0) {
        return errno == EAGAIN || errno == EWOULDBLOCK;
    }
    client.received += static_cast<std::size_t>(n);
    if (client.received < client.request.size()) {
        return true;
    }
    client.received = 0;
    if (!paddingIsZero(client.request)) {
        return false;
    }
    client.response = answer(backend, client.request);
    client.toSend = client.response.size();
    return flush(client);
}

} // namespace

SMCSocketServer::SMCSocketServer(SMCTransport& backend, std::string path, std::function<void()> whenIdle)
    : backend_(backend)
    , path_(std::move(path))
    , whenIdle_(std::move(whenIdle)) {}

SMCSocketServer::~SMCSocketServer() {
    stop();
}

bool SMCSocketServer::isRunning() const {
    const std::lock_guard lock(mutex_);
    return thread_.joinable();
}

void SMCSocketServer::start() {
    const std::lock_guard lock(mutex_);
    if (thread_.joinable()) {
        return;
    }
    sockaddr_un address{};
    if (!UnixSocket::makeAddress(path_, address)) {
        fail(ENAMETOOLONG, "the socket path is too long");
    }
    UnixSocket::clearStaleSocket(path_, address);

    FileDescriptor listener = UnixSocket::streamSocket();
    if (!listener.valid()) {
        fail(errno, "cannot create a socket");
    }
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        fail(errno, "cannot bind the socket path");
    }
    // Nobody can connect before listen(), so narrowing the mode here leaves no window.
    struct stat info {};
    if (::chmod(path_.c_str(), S_IRUSR | S_IWUSR) < 0 || ::lstat(path_.c_str(), &info) < 0 ||
        ::listen(listener.get(), SOMAXCONN) < 0) {
        const int error = errno;
        ::unlink(path_.c_str());
        fail(error, "cannot listen on the socket path");
    }

    int pipeEnds[2];
    if (::pipe(pipeEnds) < 0) {
        const int error = errno;
        ::unlink(path_.c_str());
        fail(error, "cannot create the wake-up pipe");
    }
    FileDescriptor wakeRead{pipeEnds[0]};
    FileDescriptor wakeWrite{pipeEnds[1]};
    for (const int fd : pipeEnds) {
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
        ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    }

    listener_ = std::move(listener);
    wakeRead_ = std::move(wakeRead);
    wakeWrite_ = std::move(wakeWrite);
    fileDevice_ = info.st_dev;
    fileInode_ = info.st_ino;
    thread_ = std::thread([this] { run(); });
}

void SMCSocketServer::stop() {
    const std::lock_guard lock(mutex_);
    if (!thread_.joinable()) {
        return;
    }
    const std::uint8_t wake = 1;
    while (::write(wakeWrite_.get(), &wake, 1) < 0 && errno == EINTR) {
    }
    thread_.join();
    listener_.reset();
    wakeRead_.reset();
    wakeWrite_.reset();
    struct stat info {};
    if (::lstat(path_.c_str(), &info) == 0 && info.st_dev == fileDevice_ && info.st_ino == fileInode_) {
        ::unlink(path_.c_str());
    }
}

// Clients live only on this thread; leaving the loop closes them all.
void SMCSocketServer::run() {
    std::vector<Client> clients;
    std::vector<pollfd> entries;
    // Out of descriptors, the listener would stay readable and spin the loop: it rests for
    // a tenth of a second before accept() is tried again.
    bool acceptPaused = false;
    for (;;) {
        entries.clear();
        entries.push_back({wakeRead_.get(), POLLIN, 0});
        entries.push_back({listener_.get(), static_cast<short>(acceptPaused ? 0 : POLLIN), 0});
        for (const Client& client : clients) {
            entries.push_back({client.fd.get(), static_cast<short>(client.toSend > 0 ? POLLOUT : POLLIN), 0});
        }
        const int timeout = acceptPaused ? 100 : -1;
        acceptPaused = false;
        if (::poll(entries.data(), entries.size(), timeout) < 0) {
            if (errno == EINTR) {
                continue;
            }
            return;
        }
        if (entries[0].revents != 0) {
            return;
        }
        for (std::size_t i = 0; i < clients.size(); ++i) {
            const short events = entries[i + 2].revents;
            if (events == 0) {
                continue;
            }
            Client& client = clients[i];
            const bool keep = client.toSend > 0 ? flush(client) : serve(client, backend_);
            client.dropped = !keep;
        }
        const bool hadClients = !clients.empty();
        std::erase_if(clients, [](const Client& client) { return client.dropped; });
        if (hadClients && clients.empty() && whenIdle_) {
            whenIdle_();
        }

        if (entries[1].revents != 0) {
            for (;;) {
                FileDescriptor fd{::accept(listener_.get(), nullptr, nullptr)};
                if (!fd.valid()) {
                    // EAGAIN when drained; other failures concern that one connection.
                    acceptPaused = errno == EMFILE || errno == ENFILE;
                    break;
                }
                if (clients.size() < maxClients && UnixSocket::prepareAccepted(fd.get())) {
                    clients.push_back(Client{std::move(fd)});
                }
            }
        }
    }
}

} // namespace halvoren
