#pragma once

#include "engine/helper_service_manager.h"

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace halvoren {

// A service manager that answers at once and records what it was asked, in order.
class FakeHelperServiceManager final : public HelperServiceManager {
public:
    HelperServiceStatus currentStatus = HelperServiceStatus::notRegistered;
    Failure registerFailure;
    Failure unregisterFailure;
    // Run as the service would start or stop the helper.
    std::function<void()> onRegister;
    std::function<void()> onUnregister;
    std::vector<std::string> calls; // "status", "register", "unregister", "approval"

    QCoro::Task<HelperServiceStatus> status() override {
        calls.emplace_back("status");
        co_return HelperServiceStatus{currentStatus}; // a copy: co_return of a member would move it out
    }
    QCoro::Task<Failure> registerService() override {
        calls.emplace_back("register");
        if (registerFailure) {
            co_return Failure(registerFailure);
        }
        currentStatus = HelperServiceStatus::enabled;
        if (onRegister) {
            onRegister();
        }
        co_return std::nullopt;
    }
    QCoro::Task<Failure> unregisterService() override {
        calls.emplace_back("unregister");
        if (unregisterFailure) {
            co_return Failure(unregisterFailure);
        }
        currentStatus = HelperServiceStatus::notRegistered;
        if (onUnregister) {
            onUnregister();
        }
        co_return std::nullopt;
    }
    void openApproval() override { calls.emplace_back("approval"); }

    long count(const std::string& call) const { return std::count(calls.begin(), calls.end(), call); }
};

} // namespace halvoren
