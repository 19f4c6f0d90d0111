#pragma once

#include "platform/application_watcher.h"

#include <string>
#include <utility>
#include <vector>

namespace halvoren {

// Applications that start and end when a test says so; notices go out while started.
class FakeApplicationWatcher final : public ApplicationWatcher {
public:
    std::vector<std::string> running;

    std::vector<std::string> runningApplicationIDs() override { return running; }
    void start(Notices notices) override { notices_ = std::move(notices); }
    void stop() override { notices_ = {}; }

    void launch(const std::string& id) {
        running.push_back(id);
        if (notices_.launched) {
            notices_.launched(id);
        }
    }
    void terminate(const std::string& id) {
        std::erase(running, id);
        if (notices_.terminated) {
            notices_.terminated(id);
        }
    }

private:
    Notices notices_; // none while stopped
};

} // namespace halvoren
