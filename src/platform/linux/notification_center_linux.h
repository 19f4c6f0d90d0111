#pragma once

#include "platform/notification_center.h"

#include <QDBusConnection>
#include <memory>

namespace halvoren {

// The desktop's notification server on `bus`; the system's own uses the session bus.
std::shared_ptr<NotificationCenter> freedesktopNotificationCenter(QDBusConnection bus);

} // namespace halvoren
