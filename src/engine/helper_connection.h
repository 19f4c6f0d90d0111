#pragma once

#include "core/frame_codec.h"
#include "core/helper_messages.h"
#include "engine/continuation_guard.h"

#include <QPointer>
#include <QString>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

class QLocalSocket;
class QObject;

namespace halvoren {

// One connection to the helper's Unix socket on the calling thread's event loop: framed JSON
// requests out, replies matched to their calls by id. Its identity is the object itself, so the
// driver can tell events of the current connection from those of one it already replaced.
class HelperConnection : public std::enable_shared_from_this<HelperConnection> {
public:
    using CallGuard = ContinuationGuard<HelperReply::Outcome>;

    struct Handlers {
        // The socket is connected; its descriptor is valid from now on.
        std::function<void()> connected;
        // The connection is gone. `interrupted`: the helper went away after the link was up;
        // otherwise the link could not be made, broke, or was closed on purpose. Calls still
        // waiting on it are failed right after this returns, except after a deliberate close.
        std::function<void(bool interrupted)> dropped;
    };

    // The socket becomes a child of `socketParent`, so it never outlives its owner.
    HelperConnection(QString path, QObject* socketParent);
    ~HelperConnection();
    HelperConnection(const HelperConnection&) = delete;
    HelperConnection& operator=(const HelperConnection&) = delete;

    // Starts connecting. The handlers may run before this returns.
    void open(Handlers handlers);

    // Sends now, or once connected. The reply, or the helper's error, completes `guard`; a
    // connection that failed completes it with that failure at once.
    void send(const HelperRequest& request, const std::shared_ptr<CallGuard>& guard);

    // The deliberate end: the socket is closed and the dropped handler runs later, from the
    // event loop. Calls still waiting get no reply and end by their own timeouts.
    void close();

    bool isOpen() const { return !closed_; }
    // The socket's descriptor while connected, else -1.
    int descriptor() const;

private:
    struct Pending {
        HelperMethod method;
        std::shared_ptr<CallGuard> guard;
    };

    void onConnected();
    void onReadyRead();
    void onSocketFailure();
    void handlePayload(const std::string& payload);
    // Ends the connection for `reason`: dropped handler first, then every waiting call fails.
    void fail(const std::string& reason, bool interrupted);
    bool write(const std::string& bytes);

    QString path_;
    QPointer<QLocalSocket> socket_;
    QPointer<QObject> socketParent_;
    Handlers handlers_;
    FrameReader reader_;
    std::string queued_; // bytes waiting for the connection to come up
    std::map<std::uint64_t, Pending> pending_;
    bool wasConnected_ = false;
    bool closed_ = false;
    std::string failure_; // why the connection ended, for calls sent afterwards
};

} // namespace halvoren
