#include "core/json_support.h"

#include <cmath>
#include <limits>

namespace halvoren::json {
namespace {

[[noreturn]] void wrongType(std::string_view key, std::string_view expected) {
    throw DecodeError("\"" + std::string(key) + "\" is not " + std::string(expected));
}

} // namespace

const Json& requireKey(const Json& object, std::string_view key) {
    if (!object.is_object()) {
        throw DecodeError("expected an object holding \"" + std::string(key) + "\"");
    }
    const auto it = object.find(key);
    if (it == object.end()) {
        throw DecodeError("missing key \"" + std::string(key) + "\"");
    }
    return *it;
}

const Json& requireObject(const Json& value, std::string_view what) {
    if (!value.is_object()) {
        wrongType(what, "an object");
    }
    return value;
}

double asDouble(const Json& value, std::string_view key) {
    if (!value.is_number()) {
        wrongType(key, "a number");
    }
    return value.get<double>();
}

std::int64_t asInt(const Json& value, std::string_view key) {
    if (value.is_number_integer() && !value.is_number_unsigned()) {
        return value.get<std::int64_t>();
    }
    if (value.is_number_unsigned()) {
        const auto u = value.get<std::uint64_t>();
        if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            wrongType(key, "an integer in range");
        }
        return static_cast<std::int64_t>(u);
    }
    if (value.is_number_float()) {
        // A whole number written with a fraction (5.0) is still an integer; 5.5 is not.
        const double d = value.get<double>();
        if (std::isfinite(d) && std::trunc(d) == d && d >= -9.2233720368547758e18 &&
            d < 9.2233720368547758e18) {
            return static_cast<std::int64_t>(d);
        }
    }
    wrongType(key, "an integer");
}

bool asBool(const Json& value, std::string_view key) {
    if (!value.is_boolean()) {
        wrongType(key, "a boolean");
    }
    return value.get<bool>();
}

std::string asString(const Json& value, std::string_view key) {
    if (!value.is_string()) {
        wrongType(key, "a string");
    }
    return value.get<std::string>();
}

Json finite(double value) {
    if (!std::isfinite(value)) {
        throw EncodeError("cannot encode a non-finite number");
    }
    constexpr double wholeLimit = 9007199254740992.0; // 2^53: beyond it the exponent form
    if (std::trunc(value) == value && std::fabs(value) <= wholeLimit &&
        !(value == 0.0 && std::signbit(value))) {
        return static_cast<std::int64_t>(value);
    }
    return value;
}

Json parse(std::string_view text) {
    auto result = Json::parse(text, nullptr, false);
    if (result.is_discarded()) {
        throw DecodeError("malformed JSON");
    }
    return result;
}

} // namespace halvoren::json
