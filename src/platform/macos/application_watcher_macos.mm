#include "platform/application_watcher.h"
#include "platform/running_programs.h"

#import <AppKit/AppKit.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

std::optional<std::string> bundleIdentifier(NSRunningApplication* application) {
    const char* text = application.bundleIdentifier.UTF8String; // nil for a bare executable
    if (text == nullptr || *text == '\0') {
        return std::nullopt;
    }
    return std::string(text);
}

std::vector<std::string> runningBundleIdentifiers() {
    std::vector<std::string> ids;
    @autoreleasepool {
        for (NSRunningApplication* application in NSWorkspace.sharedWorkspace.runningApplications) {
            if (auto bundleID = bundleIdentifier(application)) {
                ids.push_back(std::move(*bundleID));
            }
        }
    }
    return ids;
}

// The application a workspace notification is about, if it names one with a bundle identifier.
std::optional<std::string> notifiedBundleIdentifier(NSNotification* notification) {
    id application = notification.userInfo[NSWorkspaceApplicationKey];
    if (![application isKindOfClass:[NSRunningApplication class]]) {
        return std::nullopt;
    }
    return bundleIdentifier(application);
}

// What one start's observers share. The blocks hold it rather than the watcher, and `active`
// drops a notification already queued on the main queue when `stop` ran.
struct Subscription {
    ApplicationWatcher::Notices notices;
    bool active = true;
};

using NoticeMember = std::function<void(const std::string&)> ApplicationWatcher::Notices::*;

// By value: the block keeps its own copy of the pointer.
id observe(NSNotificationName name, std::shared_ptr<Subscription> subscription, NoticeMember notice) {
    return [NSWorkspace.sharedWorkspace.notificationCenter
        addObserverForName:name
                    object:nil
                     queue:NSOperationQueue.mainQueue
                usingBlock:^(NSNotification* notification) {
                  const auto bundleID = notifiedBundleIdentifier(notification);
                  const auto& call = subscription->notices.*notice;
                  if (bundleID && subscription->active && call) {
                      call(*bundleID);
                  }
                }];
}

// Launches and terminations from the workspace's notification centre, on the main queue.
class WorkspaceApplicationWatcher final : public ApplicationWatcher {
public:
    WorkspaceApplicationWatcher() = default;
    ~WorkspaceApplicationWatcher() override { stop(); }
    WorkspaceApplicationWatcher(const WorkspaceApplicationWatcher&) = delete;
    WorkspaceApplicationWatcher& operator=(const WorkspaceApplicationWatcher&) = delete;

    std::vector<std::string> runningApplicationIDs() override { return runningBundleIdentifiers(); }

    void start(Notices notices) override {
        stop();
        subscription_ = std::make_shared<Subscription>(Subscription{std::move(notices), true});
        launchObserver_ =
            observe(NSWorkspaceDidLaunchApplicationNotification, subscription_, &Notices::launched);
        terminateObserver_ =
            observe(NSWorkspaceDidTerminateApplicationNotification, subscription_, &Notices::terminated);
    }

    void stop() override {
        removeObserver(launchObserver_);
        removeObserver(terminateObserver_);
        if (subscription_) {
            subscription_->active = false;
            subscription_.reset();
        }
    }

private:
    static void removeObserver(id& observer) {
        if (observer != nil) {
            [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:observer];
            observer = nil;
        }
    }

    std::shared_ptr<Subscription> subscription_;
    id launchObserver_ = nil; // strong under ARC, as the notification centre asks
    id terminateObserver_ = nil;
};

} // namespace

std::unique_ptr<ApplicationWatcher> systemApplicationWatcher(TimerSource& /*timers*/) {
    return std::make_unique<WorkspaceApplicationWatcher>();
}

std::set<std::string> runningProgramIdentifiers(const std::filesystem::path& /*procRoot*/) {
    const std::vector<std::string> ids = runningBundleIdentifiers();
    return {ids.begin(), ids.end()};
}

} // namespace halvoren
