#include "platform/linux/power_supplies.h"
#include "platform/power_state.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QString>
#include <QVariant>
#include <atomic>
#include <optional>

namespace halvoren {
namespace {

// logind's `LidClosed` over a system-bus connection of our own, so that a bus that was missing
// or restarted can be connected again (the shared system-bus connection is made once per
// process). Blocking calls on it are safe from any thread: the connection is served by Qt's own
// D-Bus thread.
class LogindLid {
public:
    LogindLid()
        : name_(QStringLiteral("halvoren-power-state-%1").arg(nextNumber_.fetch_add(1))) {}
    ~LogindLid() { drop(); }
    LogindLid(const LogindLid&) = delete;
    LogindLid& operator=(const LogindLid&) = delete;

    std::optional<bool> lidClosed() {
        if (!bus_) {
            bus_ = QDBusConnection::connectToBus(QDBusConnection::SystemBus, name_);
        }
        if (!bus_->isConnected()) {
            drop();
            return std::nullopt;
        }
        QDBusMessage get = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.login1"), QStringLiteral("/org/freedesktop/login1"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        get << QStringLiteral("org.freedesktop.login1.Manager") << QStringLiteral("LidClosed");
        const QDBusMessage reply = bus_->call(get, QDBus::Block, timeoutMs);
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().size() != 1) {
            return std::nullopt;
        }
        const QVariant value = qvariant_cast<QDBusVariant>(reply.arguments().front()).variant();
        if (value.typeId() != QMetaType::Bool) {
            return std::nullopt;
        }
        return value.toBool();
    }

private:
    static constexpr int timeoutMs = 250;

    // Our reference goes first: the connection closes when the last one is dropped.
    void drop() {
        if (bus_) {
            bus_.reset();
            QDBusConnection::disconnectFromBus(name_);
        }
    }

    static inline std::atomic<int> nextNumber_{0};
    QString name_;
    std::optional<QDBusConnection> bus_;
};

class LinuxPowerStateObserver final : public PowerStateObserver {
public:
    PowerReading reading() override { return {supplies_.read(), lid_.closed()}; }

private:
    LogindLid logind_;
    LinuxPower::SupplyMonitor supplies_{"/sys", SystemClock::shared()};
    LinuxPower::LidMonitor lid_{[this] { return logind_.lidClosed(); }, "/proc", SystemClock::shared()};
};

} // namespace

std::shared_ptr<PowerStateObserver> systemPowerStateObserver() {
    return std::make_shared<LinuxPowerStateObserver>();
}

} // namespace halvoren
