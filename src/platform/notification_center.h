#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace halvoren {

// The system's user notifications. Used on the main thread only; every answer comes back
// later on the main thread, never from inside the call that asked for it, and the calls never
// block on the system for long.
class NotificationCenter {
public:
    // `granted`; `error` says why the question itself failed.
    using AuthorizationHandler = std::function<void(bool granted, std::optional<std::string> error)>;
    // No error: the notification was handed to the system.
    using PostHandler = std::function<void(std::optional<std::string> error)>;

    virtual ~NotificationCenter() = default;
    // Whether this process may touch the notification service at all; when false nothing else
    // here is called and every alert becomes the in-window banner.
    virtual bool isUsable() = 0;
    // Asks for permission to show alerts with sound.
    virtual void requestAuthorization(AuthorizationHandler done) = 0;
    // Shows one notification now, with the default sound.
    virtual void post(const std::string& title, const std::string& body, PostHandler done) = 0;

protected:
    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = default;
    NotificationCenter& operator=(const NotificationCenter&) = default;
};

// The running system's own notifications.
std::shared_ptr<NotificationCenter> systemNotificationCenter();

} // namespace halvoren
