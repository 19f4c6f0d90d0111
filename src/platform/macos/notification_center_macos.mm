#include "platform/notification_center.h"

#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>
#include <dispatch/dispatch.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace halvoren {
namespace {

std::optional<std::string> describe(NSError* error) {
    if (error == nil) {
        return std::nullopt;
    }
    const char* text = error.localizedDescription.UTF8String;
    return std::string(text != nullptr ? text : "unknown error");
}

NSString* toNSString(const std::string& text) {
    NSString* result = [NSString stringWithUTF8String:text.c_str()];
    return result != nil ? result : @"";
}

// The user notification centre. It refuses to work outside the application's own bundle,
// and may not even be touched there, so such a build always shows the banner.
class UserNotificationCenter final : public NotificationCenter {
public:
    bool isUsable() override {
        NSString* identifier = NSBundle.mainBundle.bundleIdentifier;
        return identifier != nil && [identifier isEqualToString:@"com.halvoren.app"];
    }

    void requestAuthorization(AuthorizationHandler done) override {
        // The answer comes on a private queue; it is handed to the main thread.
        auto shared = std::make_shared<AuthorizationHandler>(std::move(done));
        const UNAuthorizationOptions options = UNAuthorizationOptionAlert | UNAuthorizationOptionSound;
        [[UNUserNotificationCenter currentNotificationCenter]
            requestAuthorizationWithOptions:options
                          completionHandler:^(BOOL granted, NSError* _Nullable error) {
                            std::optional<std::string> failure = describe(error);
                            const bool answer = granted == YES;
                            dispatch_async(dispatch_get_main_queue(), ^{
                              (*shared)(answer && !failure, failure);
                            });
                          }];
    }

    void post(const std::string& title, const std::string& body, PostHandler done) override {
        auto shared = std::make_shared<PostHandler>(std::move(done));
        @autoreleasepool {
            UNMutableNotificationContent* content = [[UNMutableNotificationContent alloc] init];
            content.title = toNSString(title);
            content.body = toNSString(body);
            content.sound = [UNNotificationSound defaultSound];
            UNNotificationRequest* request =
                [UNNotificationRequest requestWithIdentifier:[NSUUID UUID].UUIDString content:content trigger:nil];
            [[UNUserNotificationCenter currentNotificationCenter]
                addNotificationRequest:request
                 withCompletionHandler:^(NSError* _Nullable error) {
                   std::optional<std::string> failure = describe(error);
                   dispatch_async(dispatch_get_main_queue(), ^{
                     (*shared)(failure);
                   });
                 }];
        }
    }
};

} // namespace

std::shared_ptr<NotificationCenter> systemNotificationCenter() {
    return std::make_shared<UserNotificationCenter>();
}

} // namespace halvoren
