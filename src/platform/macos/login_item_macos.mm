#include "platform/login_item.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

namespace halvoren {
namespace {

// The application's own login item, registered with the system's service management.
class MainAppLoginItem final : public LoginItem {
public:
    bool isEnabled() const override {
        return SMAppService.mainAppService.status == SMAppServiceStatusEnabled;
    }

    std::optional<std::string> setEnabled(bool enabled) override {
        NSError* error = nil;
        const BOOL done = enabled ? [SMAppService.mainAppService registerAndReturnError:&error]
                                  : [SMAppService.mainAppService unregisterAndReturnError:&error];
        if (done) {
            return std::nullopt;
        }
        return error ? std::string(error.localizedDescription.UTF8String) : std::string("unknown error");
    }
};

} // namespace

std::unique_ptr<LoginItem> systemLoginItem() {
    return std::make_unique<MainAppLoginItem>();
}

} // namespace halvoren
