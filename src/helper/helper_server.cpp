#include "helper/helper_server.h"

#include "core/double_text.h"
#include "helper/helper_log.h"
#include "smc/unix_socket.h"

#include <QLocalServer>
#include <QLocalSocket>
#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace halvoren {
namespace {

[[noreturn]] void fail(int error, const char* what) {
    throw std::system_error(error, std::generic_category(), what);
}

QString describe(const PeerCredentials& peer) {
    return QStringLiteral("uid %1 pid %2").arg(peer.uid).arg(peer.pid);
}

} // namespace

HelperServer::HelperServer(Options options, TimerSource& timers, FrameHandler handler, ClientGone clientGone)
    : options_(std::move(options))
    , timers_(timers)
    , handler_(std::move(handler))
    , clientGone_(std::move(clientGone))
    , server_(std::make_unique<QLocalServer>()) {
    QObject::connect(server_.get(), &QLocalServer::newConnection, server_.get(), [this] { accept(); });
}

HelperServer::~HelperServer() {
    close();
    refusalFlush_.cancel();
}

void HelperServer::listen() {
    if (server_->isListening()) {
        return;
    }
    const std::string& path = options_.path;
    sockaddr_un address{};
    if (!UnixSocket::makeAddress(path, address)) {
        fail(ENAMETOOLONG, "the socket path is empty or too long");
    }
    UnixSocket::clearStaleSocket(path, address);
    UnixSocket::FileDescriptor listener = UnixSocket::streamSocket();
    if (!listener.valid()) {
        fail(errno, "cannot create a socket");
    }
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0) {
        fail(errno, "cannot bind the socket path");
    }
    // Nobody can connect before listen(), so setting the mode here leaves no window.
    struct stat info {};
    if (::chmod(path.c_str(), options_.socketMode) < 0 || ::lstat(path.c_str(), &info) < 0 ||
        ::listen(listener.get(), SOMAXCONN) < 0) {
        const int error = errno;
        ::unlink(path.c_str());
        fail(error, "cannot listen on the socket path");
    }
    if (!server_->listen(static_cast<qintptr>(listener.get()))) {
        ::unlink(path.c_str());
        fail(EINVAL, "the event loop cannot take the listening socket");
    }
    listener.release(); // the server closes it
    fileDevice_ = info.st_dev;
    fileInode_ = info.st_ino;
}

void HelperServer::close() {
    for (auto& [id, client] : clients_) {
        release(client);
        client.socket->abort();
        delete client.socket;
    }
    clients_.clear();
    flushRefusals();
    if (!server_->isListening()) {
        return;
    }
    server_->close();
    struct stat info {};
    const std::string& path = options_.path;
    if (::lstat(path.c_str(), &info) == 0 && info.st_dev == fileDevice_ && info.st_ino == fileInode_) {
        ::unlink(path.c_str());
    }
}

void HelperServer::accept() {
    while (QLocalSocket* socket = server_->nextPendingConnection()) {
        const auto peer = peerCredentials(static_cast<int>(socket->socketDescriptor()));
        if (const auto why = refusal(peer)) {
            logRefusal(*why);
            socket->abort();
            socket->deleteLater();
            continue;
        }
        const ClientId id = nextId_++;
        Client& client = clients_[id];
        client.socket = socket;
        client.peer = *peer;
        qCDebug(logHelper).noquote() << QStringLiteral("Accepted client %1: %2").arg(id).arg(describe(*peer));
        QObject::connect(socket, &QLocalSocket::readyRead, server_.get(), [this, id] { readFrom(id); });
        QObject::connect(socket, &QLocalSocket::disconnected, server_.get(), [this, id] { forget(id); });
        QObject::connect(socket, &QLocalSocket::errorOccurred, server_.get(), [this, id, socket] {
            if (socket->state() != QLocalSocket::ConnectedState) {
                forget(id);
            }
        });
        if (socket->state() != QLocalSocket::ConnectedState) {
            forget(id);
        } else if (socket->bytesAvailable() > 0) {
            readFrom(id);
        }
    }
}

std::optional<QString> HelperServer::refusal(const std::optional<PeerCredentials>& peer) const {
    if (!peer) {
        return QStringLiteral("Refused a client whose credentials cannot be read");
    }
    if (!options_.allowPeer || !options_.allowPeer(*peer)) {
        return QStringLiteral("Refused a client not allowed to control the fans: %1").arg(describe(*peer));
    }
    const auto sameUser = std::count_if(clients_.begin(), clients_.end(), [&](const auto& entry) {
        return entry.second.peer.uid == peer->uid;
    });
    if (static_cast<std::size_t>(sameUser) >= options_.maxClientsPerUser) {
        return QStringLiteral("Refused a client beyond the limit of %1 connections per user: %2")
            .arg(options_.maxClientsPerUser)
            .arg(describe(*peer));
    }
    return std::nullopt;
}

void HelperServer::logRefusal(const QString& line) {
    const double now = timers_.clock().monotonicNow();
    if (lastRefusalLogged_ && now - *lastRefusalLogged_ < options_.refusalLogInterval) {
        if (refusalsUnlogged_++ == 0) {
            refusalFlush_ = timers_.schedule(*lastRefusalLogged_ + options_.refusalLogInterval - now,
                                             [this] { flushRefusals(); });
        }
        return;
    }
    QString text = line;
    if (refusalsUnlogged_ > 0) {
        text += QStringLiteral(" (and %1 more refused before it)").arg(refusalsUnlogged_);
        refusalsUnlogged_ = 0;
        refusalFlush_.cancel();
    }
    qCWarning(logHelper).noquote() << text;
    lastRefusalLogged_ = now;
}

void HelperServer::flushRefusals() {
    if (refusalsUnlogged_ == 0) {
        return;
    }
    refusalFlush_.cancel();
    qCWarning(logHelper).noquote() << QStringLiteral("Refused %1 more %2 since the last such line")
                                          .arg(refusalsUnlogged_)
                                          .arg(refusalsUnlogged_ == 1 ? "client" : "clients");
    refusalsUnlogged_ = 0;
    lastRefusalLogged_ = timers_.clock().monotonicNow();
}

void HelperServer::readFrom(ClientId id) {
    const auto found = clients_.find(id);
    if (found == clients_.end()) {
        return;
    }
    Client& client = found->second;
    const QByteArray bytes = client.socket->readAll();
    client.bytesRead += static_cast<std::uint64_t>(bytes.size());
    client.reader.append(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    bool framed = false;
    while (auto payload = client.reader.next()) {
        client.bytesFramed += 4 + payload->size();
        framed = true;
        const auto answer = handler_(id, *payload);
        if (!answer) {
            drop(id, QStringLiteral("a frame that is no request with an id"));
            return;
        }
        std::string frame;
        try {
            frame = frameBytes(*answer);
        } catch (const std::exception& error) {
            drop(id, QString::fromUtf8(error.what()));
            return;
        }
        client.socket->write(frame.data(), static_cast<qint64>(frame.size()));
        if (static_cast<std::size_t>(client.socket->bytesToWrite()) > options_.maxPendingOutput) {
            drop(id,
                 QStringLiteral("more than %1 bytes of answers left unread").arg(options_.maxPendingOutput));
            return;
        }
    }
    if (client.reader.failed()) {
        drop(id, QString::fromStdString(client.reader.error()));
        return;
    }
    watchFrame(id, client, framed);
}

void HelperServer::watchFrame(ClientId id, Client& client, bool newFrame) {
    if (client.bytesRead == client.bytesFramed) {
        client.frameDeadline.cancel();
        client.frameDeadlineArmed = false;
        return;
    }
    if (client.frameDeadlineArmed && !newFrame) {
        return; // the frame begun earlier is still due at its own deadline
    }
    client.frameDeadline.cancel();
    client.frameDeadlineArmed = true;
    client.frameDeadline = timers_.schedule(options_.frameTimeout, [this, id] {
        drop(id, QStringLiteral("a frame left incomplete for %1 s")
                     .arg(QString::fromStdString(doubleText(options_.frameTimeout))));
    });
}

void HelperServer::drop(ClientId id, const QString& reason) {
    auto node = clients_.extract(id);
    if (node.empty()) {
        return;
    }
    Client& client = node.mapped();
    qCWarning(logHelper).noquote()
        << QStringLiteral("Dropped client %1 (%2): %3").arg(id).arg(describe(client.peer), reason);
    release(client);
    // Answers to the frames before the fault go out as far as the socket takes them now.
    client.socket->flush();
    client.socket->abort();
    client.socket->deleteLater(); // this may run inside one of its signals
    clientGone_(id);
}

void HelperServer::forget(ClientId id) {
    auto node = clients_.extract(id);
    if (node.empty()) {
        return;
    }
    Client& client = node.mapped();
    qCDebug(logHelper).noquote()
        << QStringLiteral("Client %1 disconnected: %2").arg(id).arg(describe(client.peer));
    release(client);
    client.socket->deleteLater();
    clientGone_(id);
}

void HelperServer::release(Client& client) {
    client.frameDeadline.cancel();
    QObject::disconnect(client.socket, nullptr, server_.get(), nullptr);
}

} // namespace halvoren
