#pragma once

// Strict JSON decoding shared by the value types: every listed key is required, a
// value of the wrong type fails the whole decode, unknown keys are ignored.

#include "core/json_value.h"

#include <array>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace halvoren {

class DecodeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Raised when a value cannot be written as JSON (a non-finite number).
class EncodeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

namespace json {

const Json& requireKey(const Json& object, std::string_view key);
const Json& requireObject(const Json& value, std::string_view what);

double asDouble(const Json& value, std::string_view key);
std::int64_t asInt(const Json& value, std::string_view key);
bool asBool(const Json& value, std::string_view key);
std::string asString(const Json& value, std::string_view key);

inline double requireDouble(const Json& o, std::string_view key) {
    return asDouble(requireKey(o, key), key);
}
inline std::int64_t requireInt(const Json& o, std::string_view key) {
    return asInt(requireKey(o, key), key);
}
inline bool requireBool(const Json& o, std::string_view key) {
    return asBool(requireKey(o, key), key);
}
inline std::string requireString(const Json& o, std::string_view key) {
    return asString(requireKey(o, key), key);
}

// A Double for the output, as the platform's encoder writes one: a whole number up to 2^53
// in magnitude without a fraction (1, not 1.0), anything else in its shortest form that reads
// back exactly. -0.0 keeps its sign. Non-finite values cannot be represented and throw
// EncodeError.
Json finite(double value);

// Parses text into JSON, turning a syntax error into DecodeError.
Json parse(std::string_view text);

} // namespace json

// Raw-value tables for enumerations with string raw values. Each such enumeration
// specialises EnumTable with `entries`, in declaration order.
template <class E>
struct EnumTable;

template <class E>
constexpr std::string_view rawValue(E value) {
    for (const auto& [e, raw] : EnumTable<E>::entries) {
        if (e == value) {
            return raw;
        }
    }
    return {};
}

template <class E>
constexpr std::optional<E> fromRawValue(std::string_view raw) {
    for (const auto& [e, text] : EnumTable<E>::entries) {
        if (text == raw) {
            return e;
        }
    }
    return std::nullopt;
}

// Every case in declaration order.
template <class E>
constexpr auto allCases() {
    constexpr auto& entries = EnumTable<E>::entries;
    std::array<E, entries.size()> cases{};
    for (std::size_t i = 0; i < entries.size(); ++i) {
        cases[i] = entries[i].first;
    }
    return cases;
}

namespace json {

template <class E>
Json enumToJson(E value) {
    return std::string(rawValue(value));
}

template <class E>
E enumFromJson(const Json& value, std::string_view key) {
    const auto parsed = fromRawValue<E>(asString(value, key));
    if (!parsed) {
        throw DecodeError("unknown raw value for \"" + std::string(key) + "\"");
    }
    return *parsed;
}

} // namespace json
} // namespace halvoren
