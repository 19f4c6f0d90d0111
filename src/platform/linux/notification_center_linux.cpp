#include "platform/linux/notification_center_linux.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QVariantMap>
#include <functional>
#include <optional>
#include <utility>

namespace halvoren {
namespace {

// Notifications go to the desktop's notification server on the session bus. There is no
// permission to ask for: a server that answers stands for consent, none for refusal.
class FreedesktopNotificationCenter final : public NotificationCenter {
public:
    // The bus is reached on first use, not when the program starts.
    explicit FreedesktopNotificationCenter(std::function<QDBusConnection()> connect)
        : connect_(std::move(connect)) {}

    bool isUsable() override { return bus().isConnected(); }

    void requestAuthorization(AuthorizationHandler done) override {
        // Also starts a server that is installed but not running yet.
        QDBusMessage probe = message(QStringLiteral("GetServerInformation"));
        watch(probe, [done = std::move(done)](const QDBusMessage& reply) {
            if (reply.type() == QDBusMessage::ReplyMessage) {
                done(true, std::nullopt);
            } else {
                // No server is a refusal, not a failure.
                done(false, std::nullopt);
            }
        });
    }

    void post(const std::string& title, const std::string& body, PostHandler done) override {
        QDBusMessage notify = message(QStringLiteral("Notify"));
        notify << QStringLiteral("Halvoren") << 0U << QString() << QString::fromStdString(title)
               << QString::fromStdString(body) << QStringList() << QVariantMap() << -1;
        watch(notify, [done = std::move(done)](const QDBusMessage& reply) {
            if (reply.type() == QDBusMessage::ReplyMessage) {
                done(std::nullopt);
            } else {
                done(reply.errorMessage().isEmpty() ? std::string("no notification server")
                                                    : reply.errorMessage().toStdString());
            }
        });
    }

private:
    // A reply that has not come by then counts as none; nothing waits on it meanwhile.
    static constexpr int timeoutMs = 3000;

    static QDBusMessage message(const QString& method) {
        return QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                              QStringLiteral("/org/freedesktop/Notifications"),
                                              QStringLiteral("org.freedesktop.Notifications"), method);
    }

    void watch(const QDBusMessage& call, std::function<void(const QDBusMessage&)> handle) {
        auto* watcher = new QDBusPendingCallWatcher(bus().asyncCall(call, timeoutMs));
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished,
                         [handle = std::move(handle)](QDBusPendingCallWatcher* finished) {
                             finished->deleteLater();
                             handle(finished->reply());
                         });
    }

    QDBusConnection& bus() {
        if (!bus_) {
            bus_ = connect_();
        }
        return *bus_;
    }

    std::function<QDBusConnection()> connect_;
    std::optional<QDBusConnection> bus_;
};

} // namespace

std::shared_ptr<NotificationCenter> freedesktopNotificationCenter(QDBusConnection bus) {
    return std::make_shared<FreedesktopNotificationCenter>([bus = std::move(bus)] { return bus; });
}

std::shared_ptr<NotificationCenter> systemNotificationCenter() {
    return std::make_shared<FreedesktopNotificationCenter>([] { return QDBusConnection::sessionBus(); });
}

} // namespace halvoren
