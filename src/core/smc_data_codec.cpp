#include "core/smc_data_codec.h"

#include "core/four_cc.h"
#include "core/smc_codec_error.h"

#include <bit>
#include <cmath>
#include <limits>

namespace halvoren::SMCDataCodec {
namespace {

using Kind = SMCDataType::Kind;

std::uint32_t bigEndian(std::span<const std::uint8_t> bytes, int count) {
    std::uint32_t raw = 0;
    for (int i = 0; i < count; ++i) {
        raw = (raw << 8) | bytes[static_cast<std::size_t>(i)];
    }
    return raw;
}

std::vector<std::uint8_t> bigEndianBytes(std::uint32_t raw, int count) {
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(count));
    for (int i = count - 1; i >= 0; --i) {
        bytes[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(raw);
        raw >>= 8;
    }
    return bytes;
}

// Narrowing to single precision, without the undefined behaviour of converting a double
// beyond the float range: at or past FLT_MAX plus half a step the nearest value is
// infinite, below it the conversion rounds to FLT_MAX at most.
float narrowed(double value) {
    constexpr double largest = std::numeric_limits<float>::max();
    constexpr double overflow = 0x1.ffffffp127; // FLT_MAX + 2^103, rounds (to even) to infinity
    const double magnitude = std::fabs(value);
    if (magnitude >= overflow) {
        return value > 0 ? std::numeric_limits<float>::infinity() : -std::numeric_limits<float>::infinity();
    }
    if (magnitude > largest) {
        return static_cast<float>(std::copysign(largest, value));
    }
    return static_cast<float>(value);
}

[[noreturn]] void throwUnsupported(SMCDataType type) {
    throw SMCCodecError::unsupportedType(FourCC::string(type.code()));
}

// Integer types: the rounded value must lie in 0...limit.
std::vector<std::uint8_t> encodeUnsigned(double value, double limit, int count) {
    const double rounded = std::round(value);
    if (rounded < 0.0 || rounded > limit) {
        throw SMCCodecError::valueOutOfRange(value);
    }
    return bigEndianBytes(static_cast<std::uint32_t>(rounded), count);
}

} // namespace

double decode(std::span<const std::uint8_t> bytes, SMCDataType type) {
    if (type.kind() == Kind::other) {
        throwUnsupported(type);
    }
    const int width = type.byteCount().value_or(0);
    if (bytes.size() < static_cast<std::size_t>(width)) {
        throw SMCCodecError::sizeMismatch(width, static_cast<int>(bytes.size()));
    }
    switch (type.kind()) {
    case Kind::fpe2:
        return bigEndian(bytes, 2) * 0.25;
    case Kind::sp78:
        return static_cast<std::int16_t>(bigEndian(bytes, 2)) / 256.0;
    case Kind::flt: {
        const std::uint32_t raw =
            bytes[0] | (bytes[1] << 8) | (bytes[2] << 16) | (std::uint32_t{bytes[3]} << 24);
        const double value = std::bit_cast<float>(raw);
        if (!std::isfinite(value)) {
            throw SMCCodecError::valueOutOfRange(value);
        }
        return value;
    }
    case Kind::ui8:
        return bytes[0];
    case Kind::ui16:
        return bigEndian(bytes, 2);
    case Kind::ui32:
        return bigEndian(bytes, 4);
    case Kind::flag:
        return bytes[0] != 0 ? 1.0 : 0.0;
    case Kind::other:
        break;
    }
    throwUnsupported(type);
}

std::vector<std::uint8_t> encode(double value, SMCDataType type) {
    if (!std::isfinite(value)) {
        throw SMCCodecError::valueOutOfRange(value);
    }
    switch (type.kind()) {
    case Kind::other:
        break;
    case Kind::fpe2:
        if (!(value >= 0.0 && value <= 16383.75)) {
            throw SMCCodecError::valueOutOfRange(value);
        }
        return bigEndianBytes(static_cast<std::uint32_t>(std::round(value * 4.0)), 2);
    case Kind::sp78: {
        if (!(value >= -128.0 && value <= 127.99609375)) {
            throw SMCCodecError::valueOutOfRange(value);
        }
        const auto raw = static_cast<std::int16_t>(std::round(value * 256.0));
        return bigEndianBytes(static_cast<std::uint16_t>(raw), 2);
    }
    case Kind::flt: {
        const float single = narrowed(value);
        if (!std::isfinite(single)) {
            throw SMCCodecError::valueOutOfRange(value);
        }
        const auto raw = std::bit_cast<std::uint32_t>(single);
        return {static_cast<std::uint8_t>(raw), static_cast<std::uint8_t>(raw >> 8),
                static_cast<std::uint8_t>(raw >> 16), static_cast<std::uint8_t>(raw >> 24)};
    }
    case Kind::ui8:
        return encodeUnsigned(value, 255.0, 1);
    case Kind::ui16:
        return encodeUnsigned(value, 65535.0, 2);
    case Kind::ui32:
        return encodeUnsigned(value, 4294967295.0, 4);
    case Kind::flag:
        return {static_cast<std::uint8_t>(value != 0.0 ? 1 : 0)};
    }
    throwUnsupported(type);
}

} // namespace halvoren::SMCDataCodec
