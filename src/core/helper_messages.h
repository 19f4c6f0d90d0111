#pragma once

// The messages of the helper socket. A request is {"id": N, "method": M, ...arguments}; its
// reply repeats the id, {"id": N, ...result} or {"id": N, "error": "text"}.
//
// Decoding reads what the peer sent, so it never throws: it returns the message or a
// HelperMessageError. Encoding writes our own values and throws EncodeError for one that
// JSON cannot carry (a non-finite number), as every other encoder here does.

#include "core/json_support.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace halvoren {

// The five calls of the helper, named as on the wire.
enum class HelperMethod { setTargetRPM, setManualControl, restoreAutomaticControl, heartbeat, helperVersion };

template <>
struct EnumTable<HelperMethod> {
    static constexpr std::array<std::pair<HelperMethod, std::string_view>, 5> entries{{
        {HelperMethod::setTargetRPM, "setTargetRPM"},
        {HelperMethod::setManualControl, "setManualControl"},
        {HelperMethod::restoreAutomaticControl, "restoreAutomaticControl"},
        {HelperMethod::heartbeat, "heartbeat"},
        {HelperMethod::helperVersion, "helperVersion"},
    }};
};

// One call. Only the arguments of its method travel: `fan` and `rpm` for setTargetRPM, `fan`
// and `enabled` for setManualControl. The others are ignored when encoding and left at their
// defaults when decoding.
struct HelperRequest {
    std::uint64_t id = 0;
    HelperMethod method = HelperMethod::heartbeat;
    int fan = 0;
    double rpm = 0.0;
    bool enabled = false;

    friend bool operator==(const HelperRequest&, const HelperRequest&) = default;
};

// The answer to one call: the result its method returns, or the daemon's refusal.
struct HelperReply {
    struct Applied { // setTargetRPM: the target the daemon actually set
        double rpm = 0.0;
        friend bool operator==(const Applied&, const Applied&) = default;
    };
    struct Uptime { // heartbeat: grows while the daemon lives; smaller means it restarted
        double seconds = 0.0;
        friend bool operator==(const Uptime&, const Uptime&) = default;
    };
    struct Version { // helperVersion: the daemon's build version
        std::string text;
        friend bool operator==(const Version&, const Version&) = default;
    };
    struct Failure { // any method: the daemon's error text, shown to the user as it is
        std::string message;
        friend bool operator==(const Failure&, const Failure&) = default;
    };
    // std::monostate answers setManualControl and restoreAutomaticControl.
    using Outcome = std::variant<std::monostate, Applied, Uptime, Version, Failure>;

    std::uint64_t id = 0;
    Outcome outcome;

    friend bool operator==(const HelperReply&, const HelperReply&) = default;
};

// Why a message could not be decoded. `id` is set when the message's id could be read: the
// daemon then answers {"id": N, "error": message}; without one it closes the connection.
struct HelperMessageError {
    std::string message;
    std::optional<std::uint64_t> id;

    friend bool operator==(const HelperMessageError&, const HelperMessageError&) = default;
};

using DecodedRequest = std::variant<HelperRequest, HelperMessageError>;
using DecodedReply = std::variant<HelperReply, HelperMessageError>;

// JSON text of a request; throws EncodeError for a non-finite rpm.
std::string encodeRequest(const HelperRequest& request);
DecodedRequest decodeRequest(std::string_view json);

// JSON text of a reply; throws EncodeError for a non-finite number. Invalid UTF-8 in a text is
// replaced rather than refused, so a daemon can always send its error.
std::string encodeReply(const HelperReply& reply);
// Decodes the reply to a call of `expected`: a reply carrying "error" is a Failure, otherwise
// the method's result key must be present with the right type.
DecodedReply decodeReply(std::string_view json, HelperMethod expected);

// The id of a request or reply, when the text is a JSON object with a readable one. Lets the
// driver find the pending call, and so the method to expect, before decoding its reply.
std::optional<std::uint64_t> messageId(std::string_view json);

} // namespace halvoren
