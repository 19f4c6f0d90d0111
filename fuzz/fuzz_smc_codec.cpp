// The controller value codec. The first byte picks the type (the seven named ones, or `other`
// with the code in the next four bytes) and whether the rest is decoded as raw value bytes or
// read as a double to encode.

#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"
#include "fuzz_check.h"

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>
#include <vector>

namespace {

using namespace halvoren;
using fuzz::check;
using Kind = SMCDataType::Kind;

constexpr std::array<Kind, 8> kinds{Kind::fpe2, Kind::sp78, Kind::flt,  Kind::ui8,
                                    Kind::ui16, Kind::ui32, Kind::flag, Kind::other};

// The largest distance between a value and what its encoding decodes to.
double resolution(Kind kind, double value) {
    switch (kind) {
    case Kind::fpe2:
        return 0.125;
    case Kind::sp78:
        return 1.0 / 512.0;
    case Kind::flt:
        // Half a unit in the last place of a float, or the gap below the smallest normal one.
        return std::max(std::fabs(value) * 0x1p-24, 0x1p-150);
    default:
        return 0.5;
    }
}

void decodeBytes(std::span<const std::uint8_t> bytes, SMCDataType type) {
    double value = 0.0;
    try {
        value = SMCDataCodec::decode(bytes, type);
    } catch (const SMCCodecError&) {
        return;
    }
    check(std::isfinite(value), "a decoded value is finite");
    // Whatever the controller holds can be written back unchanged (a flag in its 0/1 form).
    const auto encoded = SMCDataCodec::encode(value, type);
    const auto width = static_cast<std::size_t>(*type.byteCount());
    check(encoded.size() == width, "an encoding has the type's width");
    if (type.kind() == Kind::flag) {
        check(encoded[0] == (bytes[0] != 0 ? 1 : 0), "a flag encodes as 0 or 1");
    } else {
        check(std::equal(encoded.begin(), encoded.end(), bytes.begin()),
              "a decoded value encodes to the same bytes");
    }
}

void encodeNumber(double value, SMCDataType type) {
    std::vector<std::uint8_t> encoded;
    try {
        encoded = SMCDataCodec::encode(value, type);
    } catch (const SMCCodecError& error) {
        check(error.kind() != SMCCodecError::Kind::sizeMismatch, "encoding never fails on size");
        return;
    }
    check(std::isfinite(value), "a non-finite value never encodes");
    check(encoded.size() == static_cast<std::size_t>(*type.byteCount()), "an encoding has the type's width");
    const double decoded = SMCDataCodec::decode(encoded, type);
    if (type.kind() == Kind::flag) {
        check(decoded == (value != 0.0 ? 1.0 : 0.0), "a flag keeps whether the value was zero");
    } else {
        check(std::fabs(decoded - value) <= resolution(type.kind(), value),
              "an encoded value decodes within the type's resolution");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::uint8_t selector = data[0];
    std::span<const std::uint8_t> rest(data + 1, size - 1);
    SMCDataType type = kinds[selector % kinds.size()];
    if (type.kind() == Kind::other) {
        if (rest.size() < 4) {
            return 0;
        }
        const auto code = static_cast<std::uint32_t>(rest[0] << 24 | rest[1] << 16 | rest[2] << 8 | rest[3]);
        type = SMCDataType::fromRawType(code);
        rest = rest.subspan(4);
    }
    if (selector & 0x80) {
        if (rest.size() < sizeof(double)) {
            return 0;
        }
        double value = 0.0;
        std::memcpy(&value, rest.data(), sizeof value);
        encodeNumber(value, type);
    } else {
        decodeBytes(rest, type);
    }
    return 0;
}
