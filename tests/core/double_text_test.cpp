#include "core/double_text.h"

#include <bit>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

namespace halvoren {
namespace {

constexpr double twoTo53 = 9007199254740992.0;

TEST(DoubleText, ShortestDigitsPositionalFrom1eMinus4UpTo2To53) {
    const std::vector<std::pair<double, const char*>> cases{
        {-1.0, "-1.0"},
        {2000.0, "2000.0"},
        {0.0, "0.0"},
        {-0.0, "-0.0"},
        {0.1, "0.1"},
        {1.0 / 3.0, "0.3333333333333333"},
        {0.0001, "0.0001"},
        {0.00001, "1e-05"},
        {-1.5e-7, "-1.5e-07"},
        {1e15, "1000000000000000.0"},
        {twoTo53 - 1, "9007199254740991.0"},
        {twoTo53, "9007199254740992.0"},
        {-twoTo53, "-9007199254740992.0"},
        {twoTo53 + 2, "9.007199254740994e+15"}, // the next Double above 2^53
        {1e16, "1e+16"},
        {1e19, "1e+19"},
        {1.7976931348623157e308, "1.7976931348623157e+308"},
        {std::numeric_limits<double>::infinity(), "inf"},
        {-std::numeric_limits<double>::infinity(), "-inf"}};
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(doubleText(value), text);
        EXPECT_EQ(doubleDebugText(value), text);
    }
}

TEST(DoubleText, EveryNaNReadsNanButItsDebugFormKeepsSignKindAndPayload) {
    const std::vector<std::pair<std::uint64_t, const char*>> cases{
        {0x7FF8000000000000, "nan"},
        {0xFFF8000000000000, "-nan"},
        {0x7FF8000020000000, "nan(0x20000000)"},
        {0x7FF0000000000001, "snan(0x1)"},
        {0xFFF7FFFFFFFFFFFF, "-snan(0x7ffffffffffff)"}};
    for (const auto& [bits, text] : cases) {
        EXPECT_EQ(doubleText(std::bit_cast<double>(bits)), "nan");
        EXPECT_EQ(doubleDebugText(std::bit_cast<double>(bits)), text);
    }
}

} // namespace
} // namespace halvoren
