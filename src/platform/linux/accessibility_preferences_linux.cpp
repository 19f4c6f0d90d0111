#include "platform/linux/accessibility_preferences_linux.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QObject>
#include <QString>

namespace halvoren {

namespace {

const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString interfaceNamespace = QStringLiteral("org.gnome.desktop.interface");
const QString animationsKey = QStringLiteral("enable-animations");
const QString a11yNamespace = QStringLiteral("org.gnome.desktop.a11y.interface");
const QString contrastKey = QStringLiteral("high-contrast");

} // namespace

// Reads both settings once, then follows the portal's change signal. No portal, or one without
// these keys, leaves the defaults.
class PortalAccessibilityPreferences final : public QObject, public AccessibilityPreferences {
    Q_OBJECT

public:
    explicit PortalAccessibilityPreferences(QDBusConnection bus)
        : bus_(std::move(bus)) {
        if (!bus_.isConnected()) {
            return;
        }
        bus_.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                     SLOT(settingChanged(QString, QString, QDBusVariant)));
        read(interfaceNamespace, animationsKey);
        read(a11yNamespace, contrastKey);
    }

private slots:
    void settingChanged(const QString& group, const QString& key, const QDBusVariant& value) {
        apply(group, key, value.variant());
    }

private:
    static constexpr int timeoutMs = 3000;

    void read(const QString& group, const QString& key) {
        QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, settingsInterface,
                                                           QStringLiteral("Read"));
        call << group << key;
        auto* watcher = new QDBusPendingCallWatcher(bus_.asyncCall(call, timeoutMs), this);
        QObject::connect(watcher, &QDBusPendingCallWatcher::finished, this,
                         [this, group, key](QDBusPendingCallWatcher* finished) {
                             finished->deleteLater();
                             const QDBusMessage reply = finished->reply();
                             if (reply.type() == QDBusMessage::ReplyMessage &&
                                 reply.arguments().size() == 1) {
                                 apply(group, key, reply.arguments().front());
                             }
                         });
    }

    void apply(const QString& group, const QString& key, const QVariant& value) {
        const std::optional<bool> flag = portalBool(value);
        if (!flag) {
            return;
        }
        AccessibilitySettings settings = current();
        if (group == interfaceNamespace && key == animationsKey) {
            settings.reduceMotion = !*flag;
        } else if (group == a11yNamespace && key == contrastKey) {
            settings.increaseContrast = *flag;
        }
        update(settings);
    }

    QDBusConnection bus_;
};

std::optional<bool> portalBool(const QVariant& value) {
    QVariant inner = value;
    // A bounded unwrapping: a malicious bus cannot make this loop for long.
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

#include "accessibility_preferences_linux.moc"
