#include "core/fan_key.h"
#include "core/four_cc.h"
#include "core/smc_codec_error.h"
#include "core/smc_data_codec.h"
#include "core/utf8.h"

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
    EXPECT_NE(SMCCodecError::sizeMismatch(2, 1), SMCCodecError::sizeMismatch(2, 0));
    EXPECT_NE(SMCCodecError::sizeMismatch(2, 1), SMCCodecError::sizeMismatch(4, 1));
    EXPECT_NE(SMCCodecError::unsupportedType("abcd"), SMCCodecError::unsupportedType("abce"));
    EXPECT_EQ(SMCCodecError::valueOutOfRange(-0.4), SMCCodecError::valueOutOfRange(-0.4));
    EXPECT_NE(SMCCodecError::valueOutOfRange(nan), SMCCodecError::valueOutOfRange(nan));
    EXPECT_NE(SMCCodecError::sizeMismatch(0, 0), SMCCodecError::valueOutOfRange(0));

    const auto error = SMCCodecError::unsupportedType(std::string("a\"\\'\t\n\r\x01\x7F", 9));
    EXPECT_EQ(error.kind(), SMCCodecError::Kind::unsupportedType);
    EXPECT_EQ(error.description(), R"(unsupportedType("a\"\\\'\t\n\r\u{01}\u{7F}"))");
    EXPECT_STREQ(SMCCodecError::sizeMismatch(4, 0).what(), "sizeMismatch(expected: 4, got: 0)");
}

std::string fffd() {
    return "\xEF\xBF\xBD";
}

TEST(FourCC, CodeAndStringAreInverseForKeys) {
    EXPECT_EQ(FourCC::code("#KEY"), 0x234B4559u);
    EXPECT_EQ(FourCC::string(FourCC::code("TC0P")), "TC0P");
    EXPECT_EQ(FourCC::string(0x00414243), std::string("\0ABC", 4));
    EXPECT_EQ(FourCC::code(std::string("\0ABC", 4)), 0x00414243u);
    EXPECT_EQ(FourCC::code("\303\251ab"), 0xC3A96162u); // "éab"
    EXPECT_EQ(FourCC::string(0xF09F9880), "\xF0\x9F\x98\x80");
}

TEST(FourCC, StringReplacesEachMaximalIllFormedSubpart) {
    const std::pair<std::uint32_t, std::string> rows[] = {
        {0xFF414243, fffd() + "ABC"},
        {0x41804243, "A" + fffd() + "BC"},               // lone continuation
        {0x41E28242, "A" + fffd() + "B"},                // truncated three-byte
        {0x41E282AC, "A\xE2\x82\xAC"},                   // the same completed
        {0xF09F9841, fffd() + "A"},                      // truncated four-byte
        {0x4142F09F, "AB" + fffd()},                     // cut off at the end
        {0xC0AF4142, fffd() + fffd() + "AB"},            // overlong "/"
        {0xE0808041, fffd() + fffd() + fffd() + "A"},    // overlong three-byte
        {0xF08FBFBF, fffd() + fffd() + fffd() + fffd()}, // overlong four-byte
        {0xEDA08041, fffd() + fffd() + fffd() + "A"},    // surrogate
        {0xF4908080, fffd() + fffd() + fffd() + fffd()}, // above U+10FFFF
        {0x80808080, fffd() + fffd() + fffd() + fffd()},
        {0xF1808041, fffd() + "A"}, // a three-byte subpart repairs to three bytes: a valid key again
    };
    for (const auto& [code, text] : rows) {
        EXPECT_EQ(FourCC::string(code), text) << std::hex << code;
    }
    EXPECT_TRUE(FourCC::isKey(FourCC::string(0xF1808041)));
    // Key text must be four bytes of UTF-8.
    EXPECT_TRUE(FourCC::isKey("TC0P"));
    for (const std::string bad : {"TC0", "TC0PX", "\377ABC", "AB\303C"}) {
        EXPECT_FALSE(FourCC::isKey(bad)) << bad;
    }
    EXPECT_FALSE(FourCC::isKey(FourCC::string(0xFF414243))); // repaired, now six bytes
    EXPECT_TRUE(Utf8::isValid("\xF4\x8F\xBF\xBF"));          // U+10FFFF
    EXPECT_DEATH(FourCC::code("TC0"), "four bytes");
    EXPECT_DEATH(FourCC::code("\377ABC"), "four bytes");
}

TEST(FanKey, SpellsKeysForFansZeroToNine) {
    EXPECT_EQ(FanKey::current(0), "F0Ac");
    EXPECT_EQ(FanKey::minimum(0), "F0Mn");
    EXPECT_EQ(FanKey::maximum(0), "F0Mx");
    EXPECT_EQ(FanKey::target(3), "F3Tg");
    EXPECT_EQ(FanKey::mode(9), "F9Md");
    EXPECT_DEATH(FanKey::current(10), "fan index 10");
    EXPECT_DEATH(FanKey::current(-1), "fan index -1");
}

} // namespace
} // namespace halvoren
