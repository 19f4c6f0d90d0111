#include "core/helper_messages.h"

#include "core/double_text.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace halvoren {
namespace {

std::string dumpText(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json finiteNumber(double value, std::string_view key) {
    if (!std::isfinite(value)) {
        throw EncodeError("\"" + std::string(key) + "\" must be finite, not " + doubleText(value));
    }
    return json::finite(value);
}

// Ids are tokens echoed back exactly, so only integer literals from 0 to 2^64 - 1 qualify:
// a fraction or exponent form could not be repeated faithfully.
std::optional<std::uint64_t> idValue(const Json& value) {
    if (value.is_number_unsigned()) {
        return value.get<std::uint64_t>();
    }
    if (value.is_number_integer() && value.get<std::int64_t>() >= 0) {
        return static_cast<std::uint64_t>(value.get<std::int64_t>());
    }
    return std::nullopt;
}

struct Envelope {
    Json object;
    std::uint64_t id = 0;
};

// The message object and its id. Throws DecodeError; nothing can be answered yet.
Envelope openEnvelope(std::string_view text) {
    // No JSON text holds a raw NUL, but the parser takes one for the end of its input and would
    // let whatever follows pass unread: a second request, say.
    if (text.find('\0') != std::string_view::npos) {
        throw DecodeError("message holds a NUL byte");
    }
    auto object = json::parse(text);
    if (!object.is_object()) {
        throw DecodeError("message is not a JSON object");
    }
    const auto id = idValue(json::requireKey(object, "id"));
    if (!id) {
        throw DecodeError("\"id\" is not a non-negative integer");
    }
    return Envelope{std::move(object), *id};
}

int requireFan(const Json& object) {
    const auto fan = json::requireInt(object, "fan");
    if (fan < std::numeric_limits<int>::min() || fan > std::numeric_limits<int>::max()) {
        throw DecodeError("\"fan\" is out of range");
    }
    return static_cast<int>(fan);
}

// A peer-chosen name is echoed in the error reply; a cap keeps that reply well inside a frame.
std::string shortened(const std::string& text) {
    constexpr std::size_t limit = 64;
    return text.size() <= limit ? text : text.substr(0, limit) + "...";
}

HelperRequest readRequest(const Envelope& envelope) {
    const auto& object = envelope.object;
    const auto name = json::requireString(object, "method");
    const auto method = fromRawValue<HelperMethod>(name);
    if (!method) {
        throw DecodeError("unknown method \"" + shortened(name) + "\"");
    }
    HelperRequest request{.id = envelope.id, .method = *method};
    switch (*method) {
    case HelperMethod::setTargetRPM:
        request.fan = requireFan(object);
        request.rpm = json::requireDouble(object, "rpm");
        break;
    case HelperMethod::setManualControl:
        request.fan = requireFan(object);
        request.enabled = json::requireBool(object, "enabled");
        break;
    case HelperMethod::restoreAutomaticControl:
    case HelperMethod::heartbeat:
    case HelperMethod::helperVersion:
        break;
    }
    return request;
}

HelperReply::Outcome readOutcome(const Json& object, HelperMethod expected) {
    if (const auto error = object.find("error"); error != object.end()) {
        return HelperReply::Failure{json::asString(*error, "error")};
    }
    switch (expected) {
    case HelperMethod::setTargetRPM:
        return HelperReply::Applied{json::requireDouble(object, "applied")};
    case HelperMethod::heartbeat:
        return HelperReply::Uptime{json::requireDouble(object, "uptime")};
    case HelperMethod::helperVersion:
        return HelperReply::Version{json::requireString(object, "version")};
    case HelperMethod::setManualControl:
    case HelperMethod::restoreAutomaticControl:
        break;
    }
    return std::monostate{};
}

} // namespace

std::string encodeRequest(const HelperRequest& request) {
    Json object{{"id", request.id}, {"method", std::string(rawValue(request.method))}};
    switch (request.method) {
    case HelperMethod::setTargetRPM:
        object["fan"] = request.fan;
        object["rpm"] = finiteNumber(request.rpm, "rpm");
        break;
    case HelperMethod::setManualControl:
        object["fan"] = request.fan;
        object["enabled"] = request.enabled;
        break;
    case HelperMethod::restoreAutomaticControl:
    case HelperMethod::heartbeat:
    case HelperMethod::helperVersion:
        break;
    }
    return dumpText(object);
}

namespace {

// Opens the envelope, then reads the rest with `read`. An error found after the id was read
// carries that id, so that the answer can name the request.
template <class Decoded, class Read>
Decoded decodeMessage(std::string_view json, Read read) {
    Envelope envelope;
    try {
        envelope = openEnvelope(json);
    } catch (const DecodeError& error) {
        return HelperMessageError{error.what(), std::nullopt};
    }
    try {
        return read(envelope);
    } catch (const DecodeError& error) {
        return HelperMessageError{error.what(), envelope.id};
    }
}

} // namespace

DecodedRequest decodeRequest(std::string_view json) {
    return decodeMessage<DecodedRequest>(json,
                                         [](const Envelope& envelope) { return readRequest(envelope); });
}

std::string encodeReply(const HelperReply& reply) {
    Json object{{"id", reply.id}};
    const auto& outcome = reply.outcome;
    if (const auto* applied = std::get_if<HelperReply::Applied>(&outcome)) {
        object["applied"] = finiteNumber(applied->rpm, "applied");
    } else if (const auto* uptime = std::get_if<HelperReply::Uptime>(&outcome)) {
        object["uptime"] = finiteNumber(uptime->seconds, "uptime");
    } else if (const auto* version = std::get_if<HelperReply::Version>(&outcome)) {
        object["version"] = version->text;
    } else if (const auto* failure = std::get_if<HelperReply::Failure>(&outcome)) {
        object["error"] = failure->message;
    }
    return dumpText(object);
}

DecodedReply decodeReply(std::string_view json, HelperMethod expected) {
    return decodeMessage<DecodedReply>(json, [expected](const Envelope& envelope) {
        return HelperReply{envelope.id, readOutcome(envelope.object, expected)};
    });
}

std::optional<std::uint64_t> messageId(std::string_view json) {
    try {
        return openEnvelope(json).id;
    } catch (const DecodeError&) {
        return std::nullopt;
    }
}

} // namespace halvoren
