#include "core/smc_codec_error.h"

#include "core/double_text.h"

#include <cstdint>
#include <utility>

namespace halvoren {
namespace {

// A string as its debug form shows it: in double quotes, with quotes, backslashes and
// control characters escaped, so a type code holding NUL or a line feed stays one line.
std::string quoted(const std::string& text) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out = "\"";
    for (const char c : text) {
        const auto byte = static_cast<std::uint8_t>(c);
        switch (c) {
        case '\0':
            out += "\\0";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '"':
            out += "\\\"";
            break;
        case '\'':
            out += "\\'";
            break;
        case '\\':
            out += "\\\\";
            break;
        default:
            if (byte < 0x20 || byte == 0x7F) {
                out += "\\u{";
                out += hex[byte >> 4];
                out += hex[byte & 0x0F];
                out += '}';
            } else {
                out += c; // printable ASCII, or a byte of a multi-byte character
            }
        }
    }
    out += '"';
    return out;
}

} // namespace

SMCCodecError SMCCodecError::sizeMismatch(int expected, int got) {
    SMCCodecError error(Kind::sizeMismatch);
    error.expected_ = expected;
    error.got_ = got;
    error.text_ =
        "sizeMismatch(expected: " + std::to_string(expected) + ", got: " + std::to_string(got) + ")";
    return error;
}

SMCCodecError SMCCodecError::unsupportedType(std::string type) {
    SMCCodecError error(Kind::unsupportedType);
    error.text_ = "unsupportedType(" + quoted(type) + ")";
    error.type_ = std::move(type);
    return error;
}

SMCCodecError SMCCodecError::valueOutOfRange(double value) {
    SMCCodecError error(Kind::valueOutOfRange);
    error.value_ = value;
    error.text_ = "valueOutOfRange(" + doubleDebugText(value) + ")";
    return error;
}

bool operator==(const SMCCodecError& a, const SMCCodecError& b) {
    if (a.kind_ != b.kind_) {
        return false;
    }
    switch (a.kind_) {
    case SMCCodecError::Kind::sizeMismatch:
        return a.expected_ == b.expected_ && a.got_ == b.got_;
    case SMCCodecError::Kind::unsupportedType:
        return a.type_ == b.type_;
    case SMCCodecError::Kind::valueOutOfRange:
        return a.value_ == b.value_;
    }
    return false;
}

} // namespace halvoren
