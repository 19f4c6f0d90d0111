#include "core/fan_key.h"
#include "core/four_cc.h"
#include "core/utf8.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

std::string fffd() {
    return "\xEF\xBF\xBD";
}

TEST(FourCC, CodeAndStringAreInverseForKeys) {
    EXPECT_EQ(FourCC::code("#KEY"), 0x234B4559u);
    EXPECT_EQ(FourCC::code("flt "), 0x666C7420u);
    EXPECT_EQ(FourCC::string(FourCC::code("TC0P")), "TC0P");
    EXPECT_EQ(FourCC::string(0x00414243), std::string("\0ABC", 4));
    EXPECT_EQ(FourCC::code(std::string("\0ABC", 4)), 0x00414243u);
    EXPECT_EQ(FourCC::code("\xC3\xA9"
                           "ab"),
              0xC3A96162u); // "éab"
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
}

TEST(FourCC, KeyTextMustBeFourBytesOfUtf8) {
    EXPECT_TRUE(FourCC::isKey("TC0P"));
    for (const std::string bad : {"TC0", "TC0PX",
                                  "\xFF"
                                  "ABC",
                                  "AB\xC3"
                                  "C"}) {
        EXPECT_FALSE(FourCC::isKey(bad)) << bad;
    }
    EXPECT_FALSE(FourCC::isKey(FourCC::string(0xFF414243))); // repaired, now six bytes
    EXPECT_TRUE(Utf8::isValid(""));
    EXPECT_TRUE(Utf8::isValid("\xF4\x8F\xBF\xBF")); // U+10FFFF
    EXPECT_EQ(Utf8::repaired("ok"), "ok");
    EXPECT_DEATH(FourCC::code("TC0"), "four bytes");
    EXPECT_DEATH(FourCC::code("\xFF"
                              "ABC"),
                 "four bytes");
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
