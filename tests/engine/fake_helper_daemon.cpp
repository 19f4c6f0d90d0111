#include "fake_helper_daemon.h"

#include <QLocalSocket>
#include <algorithm>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace halvoren {

FakeHelperDaemon::FakeHelperDaemon(TimerSource& timers)
    : timers_(timers)
    , path_(dir_.filePath(QStringLiteral("helper.sock"))) {
    QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] { accept(); });
    listen();
}

FakeHelperDaemon::~FakeHelperDaemon() {
    for (auto& handle : delayed_) {
        handle.cancel();
    }
}

void FakeHelperDaemon::listen() {
    if (!server_.isListening() && !server_.listen(path_)) {
        throw std::runtime_error("fake daemon cannot listen: " + server_.errorString().toStdString());
    }
}

void FakeHelperDaemon::stopListening() {
    server_.close();
}

void FakeHelperDaemon::dropClients() {
    for (auto* socket : server_.findChildren<QLocalSocket*>()) {
        socket->disconnectFromServer();
    }
}

void FakeHelperDaemon::sendToClients(const std::string& payload) {
    const auto frame = frameBytes(payload);
    for (auto* socket : server_.findChildren<QLocalSocket*>()) {
        socket->write(frame.data(), static_cast<qint64>(frame.size()));
        socket->flush();
    }
}

int FakeHelperDaemon::count(HelperMethod method) const {
    return static_cast<int>(
        std::count_if(requests.begin(), requests.end(), [&](const auto& r) { return r.method == method; }));
}

void FakeHelperDaemon::accept() {
    while (auto* socket = server_.nextPendingConnection()) {
        ++connections;
        readers_[socket];
        QObject::connect(socket, &QLocalSocket::readyRead, socket, [this, socket] { receive(socket); });
        QObject::connect(socket, &QLocalSocket::disconnected, socket, [this, socket] {
            readers_.erase(socket);
            socket->deleteLater();
        });
    }
}

void FakeHelperDaemon::receive(QLocalSocket* socket) {
    // Cut every complete frame first: answering may fail on a closed peer, and the socket's
    // disconnect then drops its reader, so no reference to it may live across an answer.
    std::vector<std::string> payloads;
    {
        auto& reader = readers_[socket];
        const QByteArray bytes = socket->readAll();
        reader.append(std::string_view(bytes.constData(), static_cast<std::size_t>(bytes.size())));
        while (auto payload = reader.next()) {
            payloads.push_back(std::move(*payload));
        }
    }
    const QPointer<QLocalSocket> target(socket);
    for (const auto& payload : payloads) {
        const auto decoded = decodeRequest(payload);
        if (const auto* request = std::get_if<HelperRequest>(&decoded)) {
            requests.push_back(*request);
            const auto behaviour = behaviours_[request->method];
            if (!behaviour.delay) {
                continue;
            }
            if (*behaviour.delay <= 0.0) {
                answer(target, *request);
            } else {
                delayed_.push_back(timers_.schedule(
                    *behaviour.delay, [this, target, request = *request] { answer(target, request); }));
            }
        }
    }
}

void FakeHelperDaemon::answer(const QPointer<QLocalSocket>& socket, const HelperRequest& request) {
    if (!socket || socket->state() != QLocalSocket::ConnectedState) {
        return;
    }
    HelperReply reply{.id = request.id, .outcome = std::monostate{}};
    if (const auto& error = behaviours_[request.method].error) {
        reply.outcome = HelperReply::Failure{*error};
    } else if (request.method == HelperMethod::heartbeat) {
        const double uptime = uptimes_.front();
        if (uptimes_.size() > 1) {
            uptimes_.pop_front();
        }
        reply.outcome = HelperReply::Uptime{uptime};
    } else if (request.method == HelperMethod::helperVersion) {
        reply.outcome = HelperReply::Version{version};
    } else if (request.method == HelperMethod::setTargetRPM) {
        reply.outcome = HelperReply::Applied{request.rpm};
    }
    const auto frame = frameBytes(encodeReply(reply));
    socket->write(frame.data(), static_cast<qint64>(frame.size()));
    socket->flush();
}

} // namespace halvoren
