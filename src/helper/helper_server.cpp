#include "helper/helper_server.h"

#include "helper/helper_log.h"
#include "smc/unix_socket.h"

#include <QLocalServer>
#include <QLocalSocket>
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

HelperServer::HelperServer(Options options, FrameHandler handler, std::function<void()> lastClientGone)
    : options_(std::move(options))
    , handler_(std::move(handler))
    , lastClientGone_(std::move(lastClientGone))
    , server_(std::make_unique<QLocalServer>()) {
    QObject::connect(server_.get(), &QLocalServer::newConnection, server_.get(), [this] { accept(); });
}

HelperServer::~HelperServer() {
    close();
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
        QObject::disconnect(client.socket, nullptr, server_.get(), nullptr);
        client.socket->abort();
        delete client.socket;
    }
    clients_.clear();
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
        QString refusal;
        if (!peer) {
            refusal = QStringLiteral("Refused a client whose credentials cannot be read");
        } else if (!options_.allowPeer || !options_.allowPeer(*peer)) {
            refusal =
                QStringLiteral("Refused a client not allowed to control the fans: %1").arg(describe(*peer));
        } else if (clients_.size() >= options_.maxClients) {
            refusal = QStringLiteral("Refused a client beyond the limit of %1: %2")
                          .arg(options_.maxClients)
                          .arg(describe(*peer));
        }
        if (!refusal.isEmpty()) {
            qCWarning(logHelper).noquote() << refusal;
            socket->abort();
            socket->deleteLater();
            continue;
        }
        const std::uint64_t id = nextId_++;
        clients_.emplace(id, Client{socket, {}, *peer});
        qCDebug(logHelper).noquote() << QStringLiteral("Accepted a client: %1").arg(describe(*peer));
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

void HelperServer::readFrom(std::uint64_t id) {
    const auto found = clients_.find(id);
    if (found == clients_.end()) {
        return;
    }
    Client& client = found->second;
    const QByteArray bytes = client.socket->readAll();
    client.reader.append(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    while (auto payload = client.reader.next()) {
        const auto answer = handler_(*payload);
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
    }
}

void HelperServer::drop(std::uint64_t id, const QString& reason) {
    auto node = clients_.extract(id);
    if (node.empty()) {
        return;
    }
    QLocalSocket* socket = node.mapped().socket;
    qCWarning(logHelper).noquote()
        << QStringLiteral("Dropped a client (%1): %2").arg(describe(node.mapped().peer), reason);
    QObject::disconnect(socket, nullptr, server_.get(), nullptr);
    // Answers to the frames before the fault go out as far as the socket takes them now.
    socket->flush();
    socket->abort();
    socket->deleteLater(); // this may run inside one of its signals
    if (clients_.empty()) {
        lastClientGone_();
    }
}

void HelperServer::forget(std::uint64_t id) {
    auto node = clients_.extract(id);
    if (node.empty()) {
        return;
    }
    QLocalSocket* socket = node.mapped().socket;
    qCDebug(logHelper).noquote()
        << QStringLiteral("A client disconnected: %1").arg(describe(node.mapped().peer));
    QObject::disconnect(socket, nullptr, server_.get(), nullptr);
    socket->deleteLater();
    if (clients_.empty()) {
        lastClientGone_();
    }
}

} // namespace halvoren
