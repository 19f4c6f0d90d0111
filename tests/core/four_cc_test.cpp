#include "core/fan_key.h"
#include "core/four_cc.h"
#include "core/utf8.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

const std::string fffd = "\xEF\xBF\xBD";

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
    EXPECT_EQ(FourCC::string(0xFF414243), fffd + "ABC");
    EXPECT_EQ(FourCC::string(0x41804243), "A" + fffd + "BC");         // lone continuation
    EXPECT_EQ(FourCC::string(0x41E28242), "A" + fffd + "B");          // truncated three-byte
    EXPECT_EQ(FourCC::string(0x41E282AC), "A\xE2\x82\xAC");           // the same completed
    EXPECT_EQ(FourCC::string(0xF09F9841), fffd + "A");                // truncated four-byte
    EXPECT_EQ(FourCC::string(0x4142F09F), "AB" + fffd);               // cut off at the end
    EXPECT_EQ(FourCC::string(0xC0AF4142), fffd + fffd + "AB");        // overlong "/"
    EXPECT_EQ(FourCC::string(0xE0808041), fffd + fffd + fffd + "A");  // overlong three-byte
    EXPECT_EQ(FourCC::string(0xEDA08041), fffd + fffd + fffd + "A");  // surrogate
    EXPECT_EQ(FourCC::string(0xF4908080), fffd + fffd + fffd + fffd); // above U+10FFFF
    EXPECT_EQ(FourCC::string(0x80808080), fffd + fffd + fffd + fffd);
    // A three-byte subpart repairs to three bytes, so this one comes back as a valid key.
    EXPECT_EQ(FourCC::string(0xF1808041), fffd + "A");
    EXPECT_TRUE(FourCC::isKey(FourCC::string(0xF1808041)));
}

TEST(FourCC, KeyTextMustBeFourBytesOfUtf8) {
    EXPECT_TRUE(FourCC::isKey("TC0P"));
    EXPECT_FALSE(FourCC::isKey("TC0"));
    EXPECT_FALSE(FourCC::isKey("TC0PX"));
    EXPECT_FALSE(FourCC::isKey("\xFF"
                               "ABC"));
    EXPECT_FALSE(FourCC::isKey("AB\xC3"
                               "C"));                        // four bytes, but a truncated sequence
    EXPECT_FALSE(FourCC::isKey(FourCC::string(0xFF414243))); // repaired, now six bytes
    EXPECT_TRUE(Utf8::isValid(""));
    EXPECT_TRUE(Utf8::isValid("\xF4\x8F\xBF\xBF")); // U+10FFFF
    EXPECT_FALSE(Utf8::isValid("\xED\xBF\xBF"
                               "A")); // surrogate
    EXPECT_EQ(Utf8::repaired("ok"), "ok");

    EXPECT_DEATH(FourCC::code("TC0"), "four bytes");
    EXPECT_DEATH(FourCC::code("TC0PX"), "four bytes");
    EXPECT_DEATH(FourCC::code("\xFF"
                              "ABC"),
                 "four bytes");
}

TEST(FanKey, SpellsKeysForFansZeroToNine) {
    EXPECT_EQ(FanKey::current(0), "F0Ac");
    EXPECT_EQ(FanKey::minimum(0), "F0Mn");
    EXPECT_EQ(FanKey::maximum(0), "F0Mx");
    EXPECT_EQ(FanKey::target(0), "F0Tg");
    EXPECT_EQ(FanKey::mode(0), "F0Md");
    EXPECT_EQ(FanKey::current(9), "F9Ac");
    EXPECT_EQ(FanKey::target(3), "F3Tg");

    EXPECT_DEATH(FanKey::current(10), "fan index 10");
    EXPECT_DEATH(FanKey::current(-1), "fan index -1");
    EXPECT_DEATH(FanKey::mode(10), "outside");
}

} // namespace
} // namespace halvoren
