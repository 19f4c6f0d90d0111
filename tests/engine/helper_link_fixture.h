#pragma once

#include "core/frame_codec.h"
#include "core/helper_messages.h"
#include "engine/helper_service_manager.h"
#include "engine/smc_driver_actor.h"
#include "engine_test_support.h"
#include "fakes/counting_transport.h"
#include "platform/timer_source.h"

#include <QCoreApplication>
#include <QLocalServer>
#include <QLocalSocket>
#include <QPointer>
#include <QTemporaryDir>
#include <algorithm>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace halvoren {

// A helper daemon in the test process: a real QLocalServer speaking the helper's frames, whose
// answers can be delayed on the test's timer source, withheld, or refused.
class FakeHelperDaemon {
public:
    struct Behaviour {
        // Seconds until the reply goes out; nothing means never.
        std::optional<double> delay = 0.0;
        // Answer {"error": text} instead of a result.
        std::optional<std::string> error;

        static Behaviour after(double seconds) { return Behaviour{seconds, std::nullopt}; }
        static Behaviour never() { return Behaviour{std::nullopt, std::nullopt}; }
        static Behaviour refusing(std::string text) { return Behaviour{0.0, std::move(text)}; }
    };

    explicit FakeHelperDaemon(TimerSource& timers)
        : timers_(timers)
        , path_(dir_.filePath(QStringLiteral("helper.sock"))) {
        QObject::connect(&server_, &QLocalServer::newConnection, &server_, [this] { accept(); });
        listen();
    }
    ~FakeHelperDaemon() {
        for (auto& handle : delayed_) {
            handle.cancel();
        }
    }
    FakeHelperDaemon(const FakeHelperDaemon&) = delete;
    FakeHelperDaemon& operator=(const FakeHelperDaemon&) = delete;

    QString path() const { return path_; }
    void listen() {
        if (!server_.isListening() && !server_.listen(path_)) {
            throw std::runtime_error("fake daemon cannot listen: " + server_.errorString().toStdString());
        }
    }
    void stopListening() { server_.close(); }
    // Closes every accepted connection.
    void dropClients() {
        for (auto* socket : server_.findChildren<QLocalSocket*>()) {
            socket->disconnectFromServer();
        }
    }
    // Sends one frame holding `payload` to every accepted connection, as a confused helper might.
    void sendToClients(const std::string& payload) {
        for (auto* socket : server_.findChildren<QLocalSocket*>()) {
            send(socket, payload);
        }
    }

    void setBehaviour(HelperMethod method, Behaviour behaviour) { behaviours_[method] = behaviour; }
    // Heartbeat uptimes, answered in order; the last one repeats.
    void setUptimes(std::deque<double> uptimes) { uptimes_ = std::move(uptimes); }
    int count(HelperMethod method) const {
        return static_cast<int>(std::ranges::count(requests, method, &HelperRequest::method));
    }

    std::string version = "1.2.0";
    std::vector<HelperRequest> requests;
    int connections = 0;

private:
    static void send(QLocalSocket* socket, const std::string& payload) {
        const auto frame = frameBytes(payload);
        socket->write(frame.data(), static_cast<qint64>(frame.size()));
        socket->flush();
    }

    void accept() {
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

    void receive(QLocalSocket* socket) {
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
            const auto* request = std::get_if<HelperRequest>(&decoded);
            if (!request) {
                continue;
            }
            requests.push_back(*request);
            const auto delay = behaviours_[request->method].delay;
            if (delay && *delay <= 0.0) {
                answer(target, *request);
            } else if (delay) {
                delayed_.push_back(timers_.schedule(
                    *delay, [this, target, request = *request] { answer(target, request); }));
            }
        }
    }

    void answer(const QPointer<QLocalSocket>& socket, const HelperRequest& request) {
        if (!socket || socket->state() != QLocalSocket::ConnectedState) {
            return;
        }
        HelperReply reply{.id = request.id, .outcome = std::monostate{}};
        if (const auto& error = behaviours_[request.method].error) {
            reply.outcome = HelperReply::Failure{*error};
        } else if (request.method == HelperMethod::heartbeat) {
            reply.outcome = HelperReply::Uptime{uptimes_.front()};
            if (uptimes_.size() > 1) {
                uptimes_.pop_front();
            }
        } else if (request.method == HelperMethod::helperVersion) {
            reply.outcome = HelperReply::Version{version};
        } else if (request.method == HelperMethod::setTargetRPM) {
            reply.outcome = HelperReply::Applied{request.rpm};
        }
        send(socket, encodeReply(reply));
    }

    TimerSource& timers_;
    QTemporaryDir dir_;
    QString path_;
    QLocalServer server_;
    std::map<QLocalSocket*, FrameReader> readers_;
    std::map<HelperMethod, Behaviour> behaviours_;
    std::deque<double> uptimes_{100.0};
    std::vector<TimerHandle> delayed_;
};

// A service manager that answers at once and records what it was asked, in order.
class FakeHelperServiceManager final : public HelperServiceManager {
public:
    HelperServiceStatus currentStatus = HelperServiceStatus::notRegistered;
    Failure registerFailure;
    Failure unregisterFailure;
    // Run as the service would start or stop the helper.
    std::function<void()> onRegister;
    std::function<void()> onUnregister;
    std::vector<std::string> calls; // "status", "register", "unregister", "approval"

    QCoro::Task<HelperServiceStatus> status() override {
        calls.emplace_back("status");
        co_return HelperServiceStatus{currentStatus}; // a copy: co_return of a member would move it out
    }
    QCoro::Task<Failure> registerService() override {
        calls.emplace_back("register");
        if (registerFailure) {
            co_return Failure(registerFailure);
        }
        currentStatus = HelperServiceStatus::enabled;
        if (onRegister) {
            onRegister();
        }
        co_return std::nullopt;
    }
    QCoro::Task<Failure> unregisterService() override {
        calls.emplace_back("unregister");
        if (unregisterFailure) {
            co_return Failure(unregisterFailure);
        }
        currentStatus = HelperServiceStatus::notRegistered;
        if (onUnregister) {
            onUnregister();
        }
        co_return std::nullopt;
    }
    void openApproval() override { calls.emplace_back("approval"); }

    long count(const std::string& call) const { return std::count(calls.begin(), calls.end(), call); }
};

// The driver's world on a manual clock: an in-test helper daemon, a scripted service manager and
// a scripted controller, with every log line captured.
class HelperLinkTest : public ::testing::Test {
protected:
    int argc = 0;
    QCoreApplication app{argc, nullptr};
    LogCapture logs;
    ManualClock clock;
    ManualTimerSource timers{clock};
    FakeHelperDaemon daemon{timers};
    FakeHelperServiceManager services;
    FakeBridge fake = makeFakeBridge();
};

} // namespace halvoren
