#pragma once

#include "platform/notification_center.h"

#include <string>
#include <utility>
#include <vector>

namespace halvoren {

// Notifications that a test answers by hand: each question and post waits in a list until
// the test completes it.
class FakeNotificationCenter final : public NotificationCenter {
public:
    struct Post {
        std::string title;
        std::string body;
        PostHandler done;
    };

    bool usable = true;
    std::vector<AuthorizationHandler> pendingAuthorizations;
    std::vector<Post> posts;

    bool isUsable() override { return usable; }
    void requestAuthorization(AuthorizationHandler done) override {
        pendingAuthorizations.push_back(std::move(done));
    }
    void post(const std::string& title, const std::string& body, PostHandler done) override {
        posts.push_back({title, body, std::move(done)});
    }

    // Answers the oldest open question.
    void answer(bool granted, std::optional<std::string> error = std::nullopt) {
        auto done = std::move(pendingAuthorizations.front());
        pendingAuthorizations.erase(pendingAuthorizations.begin());
        done(granted, std::move(error));
    }
};

} // namespace halvoren
