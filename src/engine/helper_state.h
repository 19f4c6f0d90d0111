#pragma once

#include <exception>
#include <optional>
#include <string>
#include <string_view>

namespace halvoren {

// The state of the link to the fan-control helper.
class HelperState {
public:
    enum class Kind {
        unavailable,      // no control possible, for the reason given
        notRegistered,    // the helper isn't registered with the service manager, or can't be found
        requiresApproval, // registered; the user must allow it
        enabled,          // registered and enabled: a state the interface can name, never resolved to
        connected,        // a handshake over the connection has just succeeded
    };

    static HelperState unavailable(std::string reason) {
        return HelperState{Kind::unavailable, std::move(reason)};
    }
    static HelperState notRegistered() { return HelperState{Kind::notRegistered, {}}; }
    static HelperState requiresApproval() { return HelperState{Kind::requiresApproval, {}}; }
    static HelperState enabled() { return HelperState{Kind::enabled, {}}; }
    static HelperState connected() { return HelperState{Kind::connected, {}}; }

    Kind kind() const { return kind_; }
    // Why control is unavailable; empty for every other case.
    const std::string& reason() const { return reason_; }

    // The case with its payload, as logs and the status output show it: notRegistered,
    // unavailable("cannot open AppleSMC").
    std::string description() const;

    // By case, and for unavailable by text too.
    friend bool operator==(const HelperState&, const HelperState&) = default;

private:
    HelperState(Kind kind, std::string reason)
        : kind_(kind)
        , reason_(std::move(reason)) {}

    Kind kind_;
    std::string reason_;
};

// The driver's own failures of a helper call, in this order.
enum class DriverError {
    noProxy,  // the request could not be put on the connection
    timedOut, // no reply within HelperConstants::xpcCallTimeout
};

// Errors that setTargetRPM raises itself before anything is sent.
inline constexpr std::string_view driverErrorDomain = "com.halvoren.driver";
inline constexpr int driverRejectedCode = 1001; // "rejected: " + the write policy's reason
inline constexpr int driverFanIndexCode = 1002; // "fan index " + n + " out of range"
// DriverError cases; the code is the case's position.
inline constexpr std::string_view driverErrorEnumDomain = "SMCDriverActor.DriverError";
// The helper answered with an "error" reply.
inline constexpr std::string_view helperErrorDomain = "com.halvoren.helper";
// The connection failed: it could not be made, the helper went away, or its bytes made no sense.
inline constexpr std::string_view helperLinkErrorDomain = "com.halvoren.helper.link";

// Everything a driver call can fail with. Driver coroutines throw it; `message` is the text
// shown to the user and used in state reasons, e.g. "helper handshake failed: " + message.
class DriverFailure : public std::exception {
public:
    DriverFailure(std::string domain, int code, std::string message)
        : domain_(std::move(domain))
        , code_(code)
        , message_(std::move(message)) {}

    static DriverFailure of(DriverError error);
    static DriverFailure rejected(const std::string& reason);
    static DriverFailure fanIndexOutOfRange(int fan);
    // The helper's error text, passed on unchanged.
    static DriverFailure helperRefused(std::string text);
    static DriverFailure linkFailed(std::string text);

    const std::string& domain() const { return domain_; }
    int code() const { return code_; }
    const std::string& message() const { return message_; }
    const char* what() const noexcept override { return message_.c_str(); }

    // The DriverError this failure stands for, if it is one.
    std::optional<DriverError> driverError() const;
    bool is(DriverError error) const { return driverError() == error; }

    friend bool operator==(const DriverFailure& a, const DriverFailure& b) {
        return a.domain_ == b.domain_ && a.code_ == b.code_ && a.message_ == b.message_;
    }

private:
    std::string domain_;
    int code_;
    std::string message_;
};

} // namespace halvoren
