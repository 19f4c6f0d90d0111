#include "core/json_support.h"
#include "core/uuid.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <unordered_set>

namespace halvoren {
namespace {

std::string canonical() {
    return "00112233-4455-6677-8899-AABBCCDDEEFF";
}

TEST(Uuid, ParsesEitherCasePrintsUpperCaseAndOrdersByBytes) {
    const std::array<std::uint8_t, 16> bytes{0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77,
                                             0x88, 0x99, 0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF};
    for (const char* text :
         {"00112233-4455-6677-8899-aabbccddeeff", "00112233-4455-6677-8899-aAbBcCdDeEfF"}) {
        const auto parsed = Uuid::parse(text);
        ASSERT_TRUE(parsed) << text;
        EXPECT_EQ(parsed->bytes(), bytes);
        EXPECT_EQ(parsed->toString(), canonical());
    }
    EXPECT_EQ(Uuid{bytes}.toString(), canonical());
    EXPECT_TRUE(Uuid{}.isNil());
    EXPECT_EQ(Uuid{}.toString(), "00000000-0000-0000-0000-000000000000");
    EXPECT_FALSE(Uuid::fromLiteral("00000000-0000-0000-0000-000000000001").isNil());
    EXPECT_LT(Uuid::fromLiteral("00000000-0000-0000-0000-0000000000FF"),
              Uuid::fromLiteral("01000000-0000-0000-0000-000000000000"));
    EXPECT_DEATH(Uuid::fromLiteral("00000000-0000-0000-0000-00000000000"), "");
}

TEST(Uuid, RejectsAnythingButTheCanonicalForm) {
    for (const std::string& bad : std::initializer_list<std::string>{
             "",
             canonical() + "0",                            // 37 characters
             "00112233445566778899AABBCCDDEEFF",           // no dashes
             "0011223-34455-6677-8899-AABBCCDDEEFF",       // first dash one early
             "00112233-4455-6677-88994AABBCCDDEE-F",       // last dash moved near the end
             "00112233-4455-6677-8899-AABBCCDDEEF-",       // dash where a digit belongs
             "00112233-4455-6677-8899-AABBCCDDEEFG",       // not a hex digit
             "+0112233-4455-6677-8899-AABBCCDDEEFF",       // sign
             "00112233-4455-6677-8899-AABBCCDDEE\xC3\xA9", // two bytes of a non-ASCII letter
         }) {
        EXPECT_FALSE(Uuid::parse(bad)) << bad;
    }
}

TEST(Uuid, RandomIsVersionFourWithTheStandardVariantAndHashesApart) {
    std::unordered_set<Uuid> seen{*Uuid::parse(canonical()),
                                  *Uuid::parse("00112233-4455-6677-8899-aabbccddeeff")};
    EXPECT_EQ(seen.size(), 1U); // equal values hash alike
    std::set<std::size_t> hashes;
    for (int i = 0; i < 2000; ++i) {
        const Uuid uuid = Uuid::random();
        const std::string text = uuid.toString();
        EXPECT_EQ(text[14], '4');
        EXPECT_NE(std::string("89AB").find(text[19]), std::string::npos) << text;
        EXPECT_EQ(Uuid::parse(text), uuid);
        seen.insert(uuid);
        hashes.insert(std::hash<Uuid>{}(uuid));
    }
    EXPECT_EQ(seen.size(), 2001U);
    EXPECT_EQ(hashes.size(), 2000U); // a constant or byte-blind hash collides here
}

TEST(Uuid, JsonIsTheUpperCaseString) {
    const auto uuid = Uuid::fromLiteral("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
    EXPECT_EQ(Json(uuid), "6BA7B810-9DAD-11D1-80B4-00C04FD430C8");
    EXPECT_EQ(Json("6ba7b810-9dad-11d1-80b4-00c04fd430c8").get<Uuid>(), uuid);
    for (const auto& bad : {Json(42), Json(nullptr), Json("6ba7b810")}) {
        EXPECT_THROW(bad.get<Uuid>(), DecodeError) << bad.dump();
    }
}

} // namespace
} // namespace halvoren
