#include "engine/helper_state.h"

#include "core/double_text.h"
#include "core/helper_constants.h"

namespace halvoren {

std::string HelperState::description() const {
    switch (kind_) {
    case Kind::unavailable:
        return "unavailable(\"" + reason_ + "\")";
    case Kind::notRegistered:
        return "notRegistered";
    case Kind::requiresApproval:
        return "requiresApproval";
    case Kind::enabled:
        return "enabled";
    case Kind::connected:
        return "connected";
    }
    return {};
}

DriverFailure DriverFailure::of(DriverError error) {
    const std::string domain(driverErrorEnumDomain);
    switch (error) {
    case DriverError::noProxy:
        return DriverFailure{domain, 0, "the helper connection could not carry the request"};
    case DriverError::timedOut:
        return DriverFailure{domain, 1,
                             "no reply from the helper within " +
                                 doubleText(HelperConstants::xpcCallTimeout) + " seconds"};
    }
    return DriverFailure{domain, -1, "unknown driver error"};
}

DriverFailure DriverFailure::rejected(const std::string& reason) {
    return DriverFailure{std::string(driverErrorDomain), driverRejectedCode, "rejected: " + reason};
}

DriverFailure DriverFailure::fanIndexOutOfRange(int fan) {
    return DriverFailure{std::string(driverErrorDomain), driverFanIndexCode,
                         "fan index " + std::to_string(fan) + " out of range"};
}

DriverFailure DriverFailure::helperRefused(std::string text) {
    return DriverFailure{std::string(helperErrorDomain), 1, std::move(text)};
}

DriverFailure DriverFailure::linkFailed(std::string text) {
    return DriverFailure{std::string(helperLinkErrorDomain), 1, std::move(text)};
}

std::optional<DriverError> DriverFailure::driverError() const {
    if (domain_ != driverErrorEnumDomain) {
        return std::nullopt;
    }
    switch (code_) {
    case 0:
        return DriverError::noProxy;
    case 1:
        return DriverError::timedOut;
    default:
        return std::nullopt;
    }
}

} // namespace halvoren
