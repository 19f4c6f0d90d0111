#include "engine/helper_connection.h"

#include "core/json_support.h"
#include "engine/helper_state.h"

#include <QLocalSocket>
#include <QMetaObject>
#include <string_view>
#include <utility>
#include <variant>

namespace halvoren {
namespace {

// Qt's own texts for the common cases are misleading ("Invalid name" for a missing socket).
std::string socketErrorText(const QLocalSocket& socket) {
    switch (socket.error()) {
    case QLocalSocket::ServerNotFoundError:
        return "no such socket";
    case QLocalSocket::ConnectionRefusedError:
        return "connection refused";
    case QLocalSocket::SocketAccessError:
        return "permission denied";
    default:
        return socket.errorString().toStdString();
    }
}

} // namespace

HelperConnection::HelperConnection(QString path, QObject* socketParent)
    : path_(std::move(path))
    , socket_(new QLocalSocket(socketParent))
    , socketParent_(socketParent) {}

HelperConnection::~HelperConnection() {
    if (socket_) {
        QObject::disconnect(socket_, nullptr, socket_, nullptr);
        socket_->abort();
        // We may be inside one of the socket's own signals.
        socket_->deleteLater();
    }
}

void HelperConnection::open(Handlers handlers) {
    handlers_ = std::move(handlers);
    QLocalSocket* socket = socket_;
    // The slots hold the connection alive while they run: a call they complete may drop the
    // driver's reference to it.
    const std::weak_ptr<HelperConnection> weak = weak_from_this();
    QObject::connect(socket, &QLocalSocket::connected, socket, [weak] {
        if (const auto self = weak.lock()) {
            self->onConnected();
        }
    });
    QObject::connect(socket, &QLocalSocket::readyRead, socket, [weak] {
        if (const auto self = weak.lock()) {
            self->onReadyRead();
        }
    });
    QObject::connect(socket, &QLocalSocket::errorOccurred, socket, [weak](QLocalSocket::LocalSocketError) {
        if (const auto self = weak.lock()) {
            self->onSocketFailure();
        }
    });
    QObject::connect(socket, &QLocalSocket::disconnected, socket, [weak] {
        if (const auto self = weak.lock()) {
            self->onSocketFailure();
        }
    });
    socket->connectToServer(path_);
}

void HelperConnection::send(const HelperRequest& request, const std::shared_ptr<CallGuard>& guard) {
    const auto refuse = [&guard](DriverFailure failure) {
        if (!guard->claim()) {
            guard->fail(std::move(failure));
        }
    };
    if (closed_ || !socket_) {
        refuse(DriverFailure::linkFailed(closed_ ? failure_ : "the helper connection is gone"));
        return;
    }
    std::string bytes;
    try {
        bytes = frameBytes(encodeRequest(request));
    } catch (const EncodeError&) {
        refuse(DriverFailure::of(DriverError::noProxy));
        return;
    }
    pending_[request.id] = Pending{request.method, guard};
    if (socket_->state() != QLocalSocket::ConnectedState) {
        queued_ += bytes;
        return;
    }
    if (!write(bytes)) {
        pending_.erase(request.id);
        refuse(DriverFailure::of(DriverError::noProxy));
    }
}

void HelperConnection::close() {
    if (closed_) {
        return;
    }
    closed_ = true;
    failure_ = "the helper connection was closed";
    queued_.clear();
    pending_.clear();
    if (socket_) {
        QObject::disconnect(socket_, nullptr, socket_, nullptr);
        socket_->abort();
    }
    if (socketParent_ && handlers_.dropped) {
        QMetaObject::invokeMethod(
            socketParent_, [dropped = handlers_.dropped] { dropped(false); }, Qt::QueuedConnection);
    }
}

int HelperConnection::descriptor() const {
    if (!socket_ || closed_ || socket_->state() != QLocalSocket::ConnectedState) {
        return -1;
    }
    return static_cast<int>(socket_->socketDescriptor());
}

void HelperConnection::onConnected() {
    if (closed_) {
        return;
    }
    wasConnected_ = true;
    if (handlers_.connected) {
        handlers_.connected();
    }
    if (!closed_ && !queued_.empty() && !write(std::exchange(queued_, {}))) {
        fail("cannot write to the helper: " + socket_->errorString().toStdString(), false);
    }
}

void HelperConnection::onReadyRead() {
    if (closed_) {
        return;
    }
    const QByteArray bytes = socket_->readAll();
    reader_.append(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
    // A completed call may close this connection; what is left is then dropped.
    while (!closed_) {
        const auto payload = reader_.next();
        if (!payload) {
            break;
        }
        handlePayload(*payload);
    }
    if (!closed_ && reader_.failed()) {
        fail("unreadable frame from the helper: " + reader_.error(), false);
    }
}

void HelperConnection::onSocketFailure() {
    if (closed_) {
        return;
    }
    const auto error = socket_ ? socket_->error() : QLocalSocket::UnknownSocketError;
    const std::string text = socket_ ? socketErrorText(*socket_) : std::string("socket gone");
    if (!wasConnected_) {
        fail("cannot connect to the helper at " + path_.toStdString() + " (" + text + ")", false);
    } else if (error == QLocalSocket::PeerClosedError || error == QLocalSocket::UnknownSocketError) {
        fail("the helper closed the connection", true);
    } else {
        fail("helper connection failed (" + text + ")", true);
    }
}

void HelperConnection::handlePayload(const std::string& payload) {
    const auto id = messageId(payload);
    if (!id) {
        fail("reply without a readable id from the helper", false);
        return;
    }
    const auto found = pending_.find(*id);
    if (found == pending_.end()) {
        return; // nobody waits for it: the exit hook's request, say
    }
    const Pending call = std::move(found->second);
    pending_.erase(found);
    if (call.guard->claim()) {
        return; // the timeout came first
    }
    auto decoded = decodeReply(payload, call.method);
    if (const auto* error = std::get_if<HelperMessageError>(&decoded)) {
        call.guard->fail(DriverFailure::linkFailed("malformed reply from the helper: " + error->message));
        return;
    }
    auto& outcome = std::get<HelperReply>(decoded).outcome;
    if (const auto* failure = std::get_if<HelperReply::Failure>(&outcome)) {
        call.guard->fail(DriverFailure::helperRefused(failure->message));
        return;
    }
    call.guard->resume(std::move(outcome));
}

void HelperConnection::fail(const std::string& reason, bool interrupted) {
    closed_ = true;
    failure_ = reason;
    queued_.clear();
    auto waiting = std::exchange(pending_, {});
    // The owner forgets this connection before any caller resumes, so a caller that tries again
    // gets a fresh connection rather than this dead one.
    if (handlers_.dropped) {
        handlers_.dropped(interrupted);
    }
    if (socket_) {
        QObject::disconnect(socket_, nullptr, socket_, nullptr);
        socket_->abort();
    }
    for (auto& [id, call] : waiting) {
        if (!call.guard->claim()) {
            call.guard->fail(DriverFailure::linkFailed(reason));
        }
    }
}

bool HelperConnection::write(const std::string& bytes) {
    const auto size = static_cast<qint64>(bytes.size());
    if (socket_->write(bytes.data(), size) != size) {
        return false;
    }
    socket_->flush();
    return true;
}

} // namespace halvoren
