#include "platform/linux/accessibility_preferences_linux.h"
#include "platform/linux/notification_center_linux.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QProcess>
#include <QStandardPaths>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace halvoren {
namespace {

QVariant wrapped(const QVariant& value, int times) {
    QVariant result = value;
    for (int i = 0; i < times; ++i) {
        result = QVariant::fromValue(QDBusVariant(result));
    }
    return result;
}

// Older portals answer `Read` with the value inside a second variant; a value of another type
// is no answer, and the unwrapping stops at a depth no portal uses.
TEST(AccessibilityPreferencesTest, PortalValuesAreUnwrappedToTheirBoolean) {
    EXPECT_EQ(portalBool(QVariant(true)), true);
    EXPECT_EQ(portalBool(wrapped(QVariant(false), 1)), false);
    EXPECT_EQ(portalBool(wrapped(QVariant(true), 2)), true);
    EXPECT_EQ(portalBool(wrapped(QVariant(true), 5)), std::nullopt);
    EXPECT_EQ(portalBool(wrapped(QVariant(QStringLiteral("true")), 2)), std::nullopt);
    EXPECT_EQ(portalBool(wrapped(QVariant(1), 1)), std::nullopt);
    EXPECT_EQ(portalBool(QVariant()), std::nullopt);
}

// A notification server that answers the two calls the program makes and keeps what it was sent.
class FakeServer final : public QDBusVirtualObject {
public:
    std::vector<std::pair<QString, QString>> shown;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == QStringLiteral("GetServerInformation")) {
            connection.send(message.createReply({QStringLiteral("fake"), QStringLiteral("test"),
                                                 QStringLiteral("1"), QStringLiteral("1.2")}));
            return true;
        }
        if (message.member() == QStringLiteral("Notify") && message.arguments().size() == 8) {
            shown.emplace_back(message.arguments()[3].toString(), message.arguments()[4].toString());
            connection.send(message.createReply(QVariant::fromValue(7U)));
            return true;
        }
        return false;
    }
};

// A private bus of its own, so the desktop's session bus is never touched.
class FreedesktopNotificationsTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty()) {
            GTEST_SKIP() << "dbus-daemon is not installed";
        }
        daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--session"), QStringLiteral("--nofork"),
                                                     QStringLiteral("--print-address")});
        ASSERT_TRUE(daemon.waitForStarted(5000));
        while (!daemon.canReadLine() && daemon.waitForReadyRead(5000)) {
        }
        address = QString::fromUtf8(daemon.readLine()).trimmed();
        ASSERT_FALSE(address.isEmpty());
        server.emplace(QDBusConnection::connectToBus(address, QStringLiteral("notification-server")));
        ASSERT_TRUE(server->isConnected());
        ASSERT_TRUE(server->registerVirtualObject(QStringLiteral("/org/freedesktop/Notifications"), &fake));
    }
    void TearDown() override {
        server.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("notification-server"));
        QDBusConnection::disconnectFromBus(QStringLiteral("notification-client"));
        daemon.kill();
        daemon.waitForFinished(5000);
    }

    int argc = 0;
    QCoreApplication app{argc, nullptr};
    QProcess daemon;
    QString address;
    FakeServer fake;
    std::optional<QDBusConnection> server;
};

TEST_F(FreedesktopNotificationsTest, AServerThatAnswersIsConsentAndShowsTheNotification) {
    const auto center = freedesktopNotificationCenter(
        QDBusConnection::connectToBus(address, QStringLiteral("notification-client")));
    ASSERT_TRUE(center->isUsable());
    const auto ask = [&] {
        std::optional<bool> granted;
        std::optional<std::string> posted;
        center->requestAuthorization(
            [&](bool answer, const std::optional<std::string>&) { granted = answer; });
        EXPECT_FALSE(granted.has_value()); // never answered from inside the call
        center->post("Halvoren: CPU Hot", "CPU Die is running hot at 96\u00B0C",
                     [&](const std::optional<std::string>& error) { posted = error.value_or(""); });
        for (QDeadlineTimer deadline(5000); !(granted && posted) && !deadline.hasExpired();) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        }
        EXPECT_TRUE(granted && posted) << "both callbacks are called";
        return std::pair(granted.value_or(false), posted.value_or("none"));
    };
    const auto [refused, failure] = ask(); // no server yet
    EXPECT_FALSE(refused);
    EXPECT_FALSE(failure.empty());
    EXPECT_TRUE(fake.shown.empty());

    ASSERT_TRUE(server->registerService(QStringLiteral("org.freedesktop.Notifications")));
    EXPECT_EQ(ask(), std::pair(true, std::string()));
    ASSERT_EQ(fake.shown.size(), 1U);
    EXPECT_EQ(fake.shown[0], std::pair(QStringLiteral("Halvoren: CPU Hot"),
                                       QStringLiteral("CPU Die is running hot at 96\u00B0C")));

    EXPECT_FALSE(
        freedesktopNotificationCenter(QDBusConnection::connectToBus(QStringLiteral("unix:path=/nonexistent"),
                                                                    QStringLiteral("notification-nowhere")))
            ->isUsable());
}

} // namespace
} // namespace halvoren
