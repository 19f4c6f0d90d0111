#include "engine/macos/smappservice_helper_service_manager.h"

#include "core/helper_constants.h"

#import <Foundation/Foundation.h>
#import <ServiceManagement/ServiceManagement.h>

#include <QFuture>
#include <QPromise>
#include <memory>
#include <qcoro/qcorofuture.h>

namespace halvoren {
namespace {

SMAppService* daemonService() {
    NSString* plist = [NSString stringWithUTF8String:std::string(HelperConstants::daemonPlistName).c_str()];
    return [SMAppService daemonServiceWithPlistName:plist];
}

std::string describe(NSError* error) {
    return error != nil ? std::string([[error localizedDescription] UTF8String]) : std::string("unknown error");
}

} // namespace

QCoro::Task<HelperServiceStatus> SMAppServiceHelperServiceManager::status() {
    // The status values are the service manager's own: 0 not registered, 1 enabled,
    // 2 requires approval, 3 not found.
    const auto raw = static_cast<int>([daemonService() status]);
    co_return raw >= 0 && raw <= 3 ? static_cast<HelperServiceStatus>(raw) : HelperServiceStatus::notFound;
}

QCoro::Task<HelperServiceManager::Failure> SMAppServiceHelperServiceManager::registerService() {
    NSError* error = nil;
    if (![daemonService() registerAndReturnError:&error]) {
        co_return describe(error);
    }
    co_return std::nullopt;
}

QCoro::Task<HelperServiceManager::Failure> SMAppServiceHelperServiceManager::unregisterService() {
    // The completion handler runs on a system queue; the promise carries its answer back to
    // the awaiting coroutine on the main thread.
    auto promise = std::make_shared<QPromise<Failure>>();
    QFuture<Failure> future = promise->future();
    promise->start();
    [daemonService() unregisterWithCompletionHandler:^(NSError* error) {
        promise->addResult(error != nil ? Failure(describe(error)) : Failure(std::nullopt));
        promise->finish();
    }];
    co_return co_await future;
}

void SMAppServiceHelperServiceManager::openApproval() { [SMAppService openSystemSettingsLoginItems]; }

} // namespace halvoren
