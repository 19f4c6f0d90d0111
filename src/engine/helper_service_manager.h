#pragma once

#include <optional>
#include <qcoro/qcorotask.h>
#include <string>

namespace halvoren {

// What the operating system's service manager says about the helper. The raw values are the
// ones the driver's state rules are written against.
enum class HelperServiceStatus {
    notRegistered = 0,
    enabled = 1,
    requiresApproval = 2,
    notFound = 3,
};

// Registers the privileged helper with whatever runs it: the service manager of the system, or
// for the simulated Mac the application itself. Operations may take a while (an administrator's
// password, a process start), so they are awaited; none of them blocks the event loop.
class HelperServiceManager {
public:
    // The text of a failure; nothing on success.
    using Failure = std::optional<std::string>;

    virtual ~HelperServiceManager() = default;

    virtual QCoro::Task<HelperServiceStatus> status() = 0;
    virtual QCoro::Task<Failure> registerService() = 0;
    virtual QCoro::Task<Failure> unregisterService() = 0;
    // Shows where the user approves the helper, if the system has such a place.
    virtual void openApproval() = 0;

protected:
    HelperServiceManager() = default;
    HelperServiceManager(const HelperServiceManager&) = default;
    HelperServiceManager& operator=(const HelperServiceManager&) = default;
};

} // namespace halvoren
