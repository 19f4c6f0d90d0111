#pragma once

#include "core/frame_codec.h"
#include "core/helper_messages.h"
#include "platform/timer_source.h"

#include <QLocalServer>
#include <QPointer>
#include <QTemporaryDir>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class QLocalSocket;

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

    explicit FakeHelperDaemon(TimerSource& timers);
    ~FakeHelperDaemon();
    FakeHelperDaemon(const FakeHelperDaemon&) = delete;
    FakeHelperDaemon& operator=(const FakeHelperDaemon&) = delete;

    QString path() const { return path_; }
    void listen();
    void stopListening();
    // Closes every accepted connection.
    void dropClients();
    // Sends one frame holding `payload` to every accepted connection, as a confused helper might.
    void sendToClients(const std::string& payload);

    void setBehaviour(HelperMethod method, Behaviour behaviour) { behaviours_[method] = behaviour; }
    // Heartbeat uptimes, answered in order; the last one repeats.
    void setUptimes(std::deque<double> uptimes) { uptimes_ = std::move(uptimes); }
    std::string version = "1.2.0";

    std::vector<HelperRequest> requests;
    int connections = 0;
    int count(HelperMethod method) const;

private:
    void accept();
    void receive(QLocalSocket* socket);
    void answer(const QPointer<QLocalSocket>& socket, const HelperRequest& request);

    TimerSource& timers_;
    QTemporaryDir dir_;
    QString path_;
    QLocalServer server_;
    std::map<QLocalSocket*, FrameReader> readers_;
    std::map<HelperMethod, Behaviour> behaviours_;
    std::deque<double> uptimes_{100.0};
    std::vector<TimerHandle> delayed_;
};

} // namespace halvoren
