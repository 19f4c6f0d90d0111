#include "core/four_cc.h"
#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace halvoren {
namespace {

using Bytes = std::vector<std::uint8_t>;
using Kind = SMCDataType::Kind;
using SMCDataCodec::decode;
using SMCDataCodec::encode;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr float largest = std::numeric_limits<float>::max();

// The error a call throws, as its description, or "none".
template <class F>
std::string thrown(F&& call) {
    try {
        call();
    } catch (const SMCCodecError& error) {
        return error.description();
    }
    return "none";
}

TEST(SMCDataCodec, DecodesEachTypeWithItsByteOrderOrNamesTheFault) {
    const struct {
        Bytes bytes;
        SMCDataType type;
        double value;
    } values[] = {
        {{0x0F, 0xA0}, Kind::fpe2, 1000.0},
        {{0x00, 0x01}, Kind::fpe2, 0.25},
        {{0x80, 0x00}, Kind::sp78, -128.0},
        {{0x7F, 0xFF}, Kind::sp78, 127.99609375},
        {{0xFF, 0x80}, Kind::sp78, -0.5},
        {{0x00, 0x00, 0xFA, 0x44}, Kind::flt, 2000.0},
        {{0xFE}, Kind::ui8, 254.0},
        {{1, 2, 3}, Kind::ui16, 258.0}, // trailing bytes are ignored
        {{0xFF, 0xFF, 0xFF, 0xFE}, Kind::ui32, 4294967294.0},
        {{0x02}, Kind::flag, 1.0},
        {{0x00, 0x01}, Kind::flag, 0.0},
    };
    for (const auto& row : values) {
        EXPECT_EQ(decode(row.bytes, row.type), row.value) << FourCC::string(row.type.code());
    }
    const struct {
        Bytes bytes;
        SMCDataType type;
        const char* error;
    } faults[] = {
        // The width is checked alike for every type; the round trip below holds each type to its width.
        {{}, Kind::ui8, "sizeMismatch(expected: 1, got: 0)"},
        {{0x0F}, Kind::fpe2, "sizeMismatch(expected: 2, got: 1)"},
        {{0, 0, 0x80}, Kind::flt, "sizeMismatch(expected: 4, got: 3)"},
        // `other` fails before the length is looked at, naming its code as text.
        {{}, SMCDataType::fromRawType(FourCC::code("hex_")), "unsupportedType(\"hex_\")"},
        {{1, 2, 3, 4}, SMCDataType::other(0xFF000061), "unsupportedType(\"\xEF\xBF\xBD\\0\\0a\")"},
        {{0x00, 0x00, 0x80, 0x7F}, Kind::flt, "valueOutOfRange(inf)"},
        {{0x00, 0x00, 0x80, 0xFF}, Kind::flt, "valueOutOfRange(-inf)"},
        {{0x00, 0x00, 0xC0, 0x7F}, Kind::flt, "valueOutOfRange(nan)"},
        {{0x01, 0x00, 0xC0, 0x7F}, Kind::flt, "valueOutOfRange(nan(0x20000000))"},
    };
    for (const auto& row : faults) {
        EXPECT_EQ(thrown([&] { decode(row.bytes, row.type); }), row.error);
    }
}

TEST(SMCDataCodec, EncodesRoundingHalvesAwayFromZeroAndTestsRangesWhereDue) {
    const struct {
        double value;
        SMCDataType type;
        Bytes bytes;
    } values[] = {
        {2000, Kind::fpe2, {0x1F, 0x40}},
        {2000, Kind::flt, {0x00, 0x00, 0xFA, 0x44}},
        {-0.5, Kind::sp78, {0xFF, 0x80}},
        {258, Kind::ui16, {0x01, 0x02}},
        {16909060, Kind::ui32, {0x01, 0x02, 0x03, 0x04}},
        {-0.0, Kind::flag, {0}},
        {0.001, Kind::flag, {1}},
        {-7, Kind::flag, {1}},
        {0.5, Kind::ui8, {1}},
        {2.5, Kind::ui8, {3}},
        {0.125, Kind::fpe2, {0x00, 0x01}},        // raw 0.5 rounds up
        {-0.001953125, Kind::sp78, {0xFF, 0xFF}}, // raw -0.5 rounds down
        // Integers are tested after rounding, fixed point before.
        {-0.4, Kind::ui8, {0}},
        {255.4, Kind::ui8, {255}},
        {65535.4, Kind::ui16, {0xFF, 0xFF}},
        {4294967295.4, Kind::ui32, {0xFF, 0xFF, 0xFF, 0xFF}},
    };
    for (const auto& row : values) {
        EXPECT_EQ(encode(row.value, row.type), row.bytes) << row.value;
    }
    const struct {
        double value;
        SMCDataType type;
        const char* error;
    } faults[] = {
        {-0.5, Kind::ui8, "valueOutOfRange(-0.5)"},
        {-0.4, Kind::fpe2, "valueOutOfRange(-0.4)"},
        {255.5, Kind::ui8, "valueOutOfRange(255.5)"},
        {65535.5, Kind::ui16, "valueOutOfRange(65535.5)"},
        {4294967295.5, Kind::ui32, "valueOutOfRange(4294967295.5)"},
        {16383.76, Kind::fpe2, "valueOutOfRange(16383.76)"},
        {127.997, Kind::sp78, "valueOutOfRange(127.997)"},
        {-128.001, Kind::sp78, "valueOutOfRange(-128.001)"},
        // Single precision: past FLT_MAX by half a step or more is out of range.
        {0x1.ffffffp127, Kind::flt, "valueOutOfRange(3.4028235677973366e+38)"},
        {-1.0e39, Kind::flt, "valueOutOfRange(-1e+39)"},
        // Non-finite values are refused before the type is looked at.
        {nan, SMCDataType::other(0x68657820), "valueOutOfRange(nan)"},
        {inf, Kind::flag, "valueOutOfRange(inf)"},
        {-inf, Kind::flt, "valueOutOfRange(-inf)"},
        {1, SMCDataType::other(0x68657820), "unsupportedType(\"hex \")"},
    };
    for (const auto& row : faults) {
        EXPECT_EQ(thrown([&] { encode(row.value, row.type); }), row.error);
    }
    // Less than half a step past FLT_MAX still rounds to it.
    EXPECT_EQ(decode(encode(0x1.fffffefp127, Kind::flt), Kind::flt), largest);
    EXPECT_EQ(decode(encode(-0x1.fffffefp127, Kind::flt), Kind::flt), -largest);
}

TEST(SMCDataCodec, BoundaryValuesSurviveARoundTrip) {
    const std::vector<std::pair<SMCDataType, std::vector<double>>> cases = {
        {Kind::fpe2, {0, 0.25, 1000, 16383.5, 16383.75}},
        {Kind::sp78, {-128, -127.99609375, -0.00390625, 0, 0.5, 127.99609375}},
        {Kind::flt, {0, -0.0, 0.1f, largest, -largest, std::numeric_limits<float>::denorm_min()}},
        {Kind::ui8, {0, 1, 254, 255}},
        {Kind::ui16, {0, 255, 256, 65535}},
        {Kind::ui32, {0, 65536, 4294967295.0}},
        {Kind::flag, {0, 1}},
    };
    for (const auto& [type, values] : cases) {
        for (const double value : values) {
            const auto bytes = encode(value, type);
            EXPECT_EQ(bytes.size(), static_cast<std::size_t>(*type.byteCount())) << value;
            EXPECT_EQ(decode(bytes, type), value) << FourCC::string(type.code()) << " " << value;
        }
    }
}

TEST(SMCCodecError, ComparesByCaseAndPayloadAndReadsAsItsCase) {
    EXPECT_EQ(SMCCodecError::sizeMismatch(2, 1), SMCCodecError::sizeMismatch(2, 1));
    EXPECT_NE(SMCCodecError::sizeMismatch(2, 1), SMCCodecError::sizeMismatch(2, 0));
    EXPECT_NE(SMCCodecError::sizeMismatch(2, 1), SMCCodecError::sizeMismatch(4, 1));
    EXPECT_NE(SMCCodecError::unsupportedType("abcd"), SMCCodecError::unsupportedType("abce"));
    EXPECT_EQ(SMCCodecError::valueOutOfRange(-0.4), SMCCodecError::valueOutOfRange(-0.4));
    EXPECT_NE(SMCCodecError::valueOutOfRange(nan), SMCCodecError::valueOutOfRange(nan));
    EXPECT_NE(SMCCodecError::sizeMismatch(0, 0), SMCCodecError::valueOutOfRange(0));
    EXPECT_NE(SMCCodecError::unsupportedType(""), SMCCodecError::valueOutOfRange(0));

    const auto error = SMCCodecError::unsupportedType(std::string("a\"\\'\t\n\r\x01\x7F", 9));
    EXPECT_EQ(error.kind(), SMCCodecError::Kind::unsupportedType);
    EXPECT_EQ(error.description(), R"(unsupportedType("a\"\\\'\t\n\r\u{01}\u{7F}"))");
    EXPECT_EQ(SMCCodecError::valueOutOfRange(2000).description(), "valueOutOfRange(2000.0)");
    EXPECT_EQ(SMCCodecError::valueOutOfRange(-nan).description(), "valueOutOfRange(-nan)");
    EXPECT_STREQ(SMCCodecError::sizeMismatch(4, 0).what(), "sizeMismatch(expected: 4, got: 0)");
}

} // namespace
} // namespace halvoren
