#include "platform/linux/accessibility_preferences_linux.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QLatin1String>
#include <QObject>
#include <QString>
#include <QTimer>

namespace halvoren {

namespace {

constexpr QLatin1String portalService("org.freedesktop.portal.Desktop");
constexpr QLatin1String portalPath("/org/freedesktop/portal/desktop");
constexpr QLatin1String settingsInterface("org.freedesktop.portal.Settings");
constexpr QLatin1String interfaceNamespace("org.gnome.desktop.interface");
constexpr QLatin1String animationsKey("enable-animations");
constexpr QLatin1String a11yNamespace("org.gnome.desktop.a11y.interface");
constexpr QLatin1String contrastKey("high-contrast");

// Reads both settings, and again after the portal says a setting changed. No portal, or one
// without these keys, leaves the defaults.
class PortalAccessibilityPreferences final : public AccessibilityPreferences {
public:
    explicit PortalAccessibilityPreferences(QDBusConnection bus)
        : bus_(std::move(bus)) {
        if (!bus_.isConnected()) {
            return;
        }
        // The signal restarts a zero-length timer, so a burst of changes costs one reading.
        reread_.setSingleShot(true);
        reread_.setInterval(0);
        QObject::connect(&reread_, &QTimer::timeout, &context_, [this] { readAll(); });
        bus_.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), &reread_,
                     SLOT(start()));
        readAll();
    }

private:
    static constexpr int timeoutMs = 3000;

    void readAll() {
        read(interfaceNamespace, animationsKey);
        read(a11yNamespace, contrastKey);
    }

    void read(QLatin1String group, QLatin1String key) {
        QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                           QStringLiteral("Read"));
        call << QString(group) << QString(key);
        // Owned by the context: a reply that comes after this object is gone reaches nothing.
        auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call, timeoutMs), &context_);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, &context_,
                         [this, group](QDBusPendingCallWatcher* finished) {
                             finished->deleteLater();
                             const QDBusMessage reply = finished->reply();
                             if (reply.type() != QDBusMessage::ReplyMessage ||
                                 reply.arguments().size() != 1) {
                                 return;
                             }
                             const std::optional<bool> flag = portalBool(reply.arguments().front());
                             if (!flag) {
                                 return;
                             }
                             AccessibilitySettings settings = current();
                             if (group == interfaceNamespace) {
                                 settings.reduceMotion = !*flag;
                             } else {
                                 settings.increaseContrast = *flag;
                             }
                             update(settings);
                         });
    }

    QDBusConnection bus_;
    QObject context_;
    QTimer reread_;
};

} // namespace

std::optional<bool> portalBool(const QVariant& value) {
    QVariant inner = value;
    // Bounded: a bus that nests without end cannot keep this loop going.
    for (int depth = 0; depth < 4 && inner.metaType() == QMetaType::fromType<QDBusVariant>(); ++depth) {
        inner = qvariant_cast<QDBusVariant>(inner).variant();
    }
    if (inner.typeId() != QMetaType::Bool) {
        return std::nullopt;
    }
    return inner.toBool();
}

std::shared_ptr<AccessibilityPreferences> portalAccessibilityPreferences(QDBusConnection bus) {
    return std::make_shared<PortalAccessibilityPreferences>(std::move(bus));
}

std::shared_ptr<AccessibilityPreferences> systemAccessibilityPreferences() {
    return portalAccessibilityPreferences(QDBusConnection::sessionBus());
}

} // namespace halvoren
