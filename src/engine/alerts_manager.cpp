#include "engine/alerts_manager.h"

#include "core/alert_evaluation.h"
#include "platform/clock.h"
#include "platform/log_levels.h"
#include "platform/notification_center.h"

#include <string_view>
#include <utility>

namespace halvoren {
namespace {

Q_LOGGING_CATEGORY(logAlerts, "alerts")

constexpr std::string_view overheatTitle = "Halvoren: Overheating";

} // namespace

AlertsManager::AlertsManager(std::shared_ptr<NotificationCenter> notifications, const Clock& clock)
    : notifications_(std::move(notifications))
    , clock_(clock) {}

AlertsManager::~AlertsManager() = default;

void AlertsManager::update(bool isOverheating, const std::string& hottestSensorName, double hottestTemp) {
    if (isOverheating && !wasOverheating_) {
        // The text is taken at the edge, even when it goes out after the permission answer.
        authorizeThenFire(std::nullopt, std::string(overheatTitle),
                          runningHotMessage(hottestSensorName, hottestTemp));
    }
    wasOverheating_ = isOverheating;
}

void AlertsManager::updateRule(const std::string& key, bool isTriggered, const std::string& title,
                               const std::string& message) {
    if (isTriggered && !ruleWasTriggered(key)) {
        authorizeThenFire(key, title, message);
    }
    ruleWasTriggered_[key] = isTriggered;
}

bool AlertsManager::ruleWasTriggered(const std::string& key) const {
    const auto found = ruleWasTriggered_.find(key);
    return found != ruleWasTriggered_.end() && found->second;
}

void AlertsManager::authorizeThenFire(std::optional<std::string> key, std::string title,
                                      std::string message) {
    // Set before asking, so that edges during the question fire at once, unauthorized: as banners.
    if (authorizationRequested_ || !notifications_->isUsable()) {
        authorizationRequested_ = true;
        fire(key, title, message);
        return;
    }
    authorizationRequested_ = true;
    notifications_->requestAuthorization([this, alive = std::weak_ptr(lifetime_), key = std::move(key),
                                          title = std::move(title), message = std::move(message)](
                                             bool granted, std::optional<std::string> error) {
        if (alive.expired()) {
            return;
        }
        notificationsAuthorized_ = granted && !error;
        if (error) {
            HALVOREN_LOG_ERROR(logAlerts, "notification authorization request failed: %s", error->c_str());
        }
        fire(key, title, message);
    });
}

void AlertsManager::fire(const std::optional<std::string>& key, const std::string& title,
                         const std::string& message) {
    const double now = clock_.monotonicNow();
    std::optional<double>& last = lastNotification_;
    std::optional<double> ruleLast;
    if (key) {
        if (const auto found = ruleLastNotification_.find(*key); found != ruleLastNotification_.end()) {
            ruleLast = found->second;
        }
    }
    if (!alertThrottleAllows(key ? ruleLast : last, now)) {
        return;
    }
    if (key) {
        ruleLastNotification_[*key] = now;
    } else {
        last = now;
    }
    if (!notificationsAuthorized_ || !notifications_->isUsable()) {
        inAppAlert_.set(message);
        return;
    }
    notifications_->post(title, message,
                         [this, alive = std::weak_ptr(lifetime_), message](std::optional<std::string> error) {
                             if (!error || alive.expired()) {
                                 return;
                             }
                             inAppAlert_.set(message);
                             HALVOREN_LOG_ERROR(logAlerts, "notification post failed: %s", error->c_str());
                         });
}

} // namespace halvoren
