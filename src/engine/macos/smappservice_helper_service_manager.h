#pragma once

#include "engine/helper_service_manager.h"

namespace halvoren {

// The daemon registered with the system's service manager by its launch property list
// (HelperConstants::daemonPlistName). Apple platforms only.
class SMAppServiceHelperServiceManager final : public HelperServiceManager {
public:
    QCoro::Task<HelperServiceStatus> status() override;
    QCoro::Task<Failure> registerService() override;
    QCoro::Task<Failure> unregisterService() override;
    void openApproval() override;
};

} // namespace halvoren
