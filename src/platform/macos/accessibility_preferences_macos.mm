#include "platform/accessibility_preferences.h"

#import <AppKit/AppKit.h>

namespace halvoren {
namespace {

AccessibilitySettings workspaceSettings() {
    NSWorkspace* workspace = NSWorkspace.sharedWorkspace;
    return AccessibilitySettings{
        .reduceMotion = workspace.accessibilityDisplayShouldReduceMotion == YES,
        .increaseContrast = workspace.accessibilityDisplayShouldIncreaseContrast == YES,
    };
}

// The workspace's display options, read again on each change notification.
class WorkspaceAccessibilityPreferences final : public AccessibilityPreferences {
public:
    WorkspaceAccessibilityPreferences() {
        update(workspaceSettings());
        token_ = [NSWorkspace.sharedWorkspace.notificationCenter
            addObserverForName:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
                        object:nil
                         queue:NSOperationQueue.mainQueue
                    usingBlock:^(NSNotification*) {
                      update(workspaceSettings());
                    }];
    }
    ~WorkspaceAccessibilityPreferences() override {
        [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:token_];
    }
    WorkspaceAccessibilityPreferences(const WorkspaceAccessibilityPreferences&) = delete;
    WorkspaceAccessibilityPreferences& operator=(const WorkspaceAccessibilityPreferences&) = delete;

private:
    id token_ = nil;
};

} // namespace

std::shared_ptr<AccessibilityPreferences> systemAccessibilityPreferences() {
    return std::make_shared<WorkspaceAccessibilityPreferences>();
}

} // namespace halvoren
