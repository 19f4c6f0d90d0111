#pragma once

#include "engine/observable.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace halvoren {

class Clock;
class NotificationCenter;

// Turns a condition that has just become true into one notification, or into the in-window
// banner when notifications cannot be used, were refused or failed. Each alert (the overheat
// alert and every rule key apart) fires at most once a minute; an edge inside that minute is
// dropped. Main thread only.
class AlertsManager {
public:
    AlertsManager(std::shared_ptr<NotificationCenter> notifications, const Clock& clock);
    ~AlertsManager();
    AlertsManager(const AlertsManager&) = delete;
    AlertsManager& operator=(const AlertsManager&) = delete;

    // The banner's text; it stays until dismissed or replaced by a later alert.
    const Observable<std::optional<std::string>>& inAppAlert() const { return inAppAlert_; }
    void dismissInAppAlert() { inAppAlert_.set(std::nullopt); }

    void update(bool isOverheating, const std::string& hottestSensorName, double hottestTemp);
    void updateRule(const std::string& key, bool isTriggered, const std::string& title,
                    const std::string& message);
    // The previous state of a rule key; clearing it lets the next failure alert again.
    bool ruleWasTriggered(const std::string& key) const;
    void setRuleWasTriggered(const std::string& key, bool triggered) { ruleWasTriggered_[key] = triggered; }

    // Permission was asked for in this run, and the answer.
    bool authorizationRequested() const { return authorizationRequested_; }
    bool notificationsAuthorized() const { return notificationsAuthorized_; }

private:
    // Asks once for permission, then fires; alerts meanwhile go out at once as banners.
    void authorizeThenFire(std::optional<std::string> key, std::string title, std::string message);
    void fire(const std::optional<std::string>& key, const std::string& title, const std::string& message);

    std::shared_ptr<NotificationCenter> notifications_;
    const Clock& clock_;
    // Answers from the notification service after the manager is gone are dropped.
    std::shared_ptr<int> lifetime_ = std::make_shared<int>(0);
    Observable<std::optional<std::string>> inAppAlert_;
    std::optional<double> lastNotification_; // monotonic
    std::map<std::string, bool> ruleWasTriggered_;
    std::map<std::string, double> ruleLastNotification_;
    bool wasOverheating_ = false;
    bool authorizationRequested_ = false;
    bool notificationsAuthorized_ = false;
};

} // namespace halvoren
