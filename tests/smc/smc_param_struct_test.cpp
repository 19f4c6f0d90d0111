#include "core/four_cc.h"
#include "smc/smc_param_struct.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace halvoren {
namespace {

SMCParamStruct filled() {
    SMCParamStruct s;
    s.key = FourCC::code("#KEY");
    s.vers = {1, 2, 3, 4, 0x0605};
    s.pLimitData = {0x0807, 0x0A09, 0x0E0D0C0B, 0x1211100F, 0x16151413};
    s.keyInfo = {0x1A191817, 0x1E1D1C1B, 0x1F};
    s.padding = 0x2120;
    s.result = 0x22;
    s.status = 0x23;
    s.data8 = 0x24;
    s.data32 = 0x28272625;
    for (std::size_t i = 0; i < s.bytes.size(); ++i) {
        s.bytes[i] = static_cast<std::uint8_t>(0x80 + i);
    }
    return s;
}

TEST(SMCParamStruct, WireImageIsLittleEndianWithZeroPadding) {
    const auto wire = filled().toWire();
    // The key's characters lie reversed on the wire.
    EXPECT_EQ(std::vector<std::uint8_t>(wire.begin(), wire.begin() + 4),
              (std::vector<std::uint8_t>{0x59, 0x45, 0x4B, 0x23}));
    const std::vector<std::pair<std::size_t, std::uint8_t>> expected = {
        {4, 1},     {5, 2},     {6, 3},     {7, 4},     {8, 0x05},  {9, 0x06},  {10, 0},
        {11, 0},    {12, 0x07}, {13, 0x08}, {14, 0x09}, {15, 0x0A}, {16, 0x0B}, {19, 0x0E},
        {20, 0x0F}, {24, 0x13}, {27, 0x16}, {28, 0x17}, {31, 0x1A}, {32, 0x1B}, {35, 0x1E},
        {36, 0x1F}, {37, 0},    {38, 0x20}, {39, 0x21}, {40, 0x22}, {41, 0x23}, {42, 0x24},
        {43, 0},    {44, 0x25}, {47, 0x28}, {48, 0x80}, {79, 0x9F},
    };
    for (const auto& [offset, byte] : expected) {
        EXPECT_EQ(wire[offset], byte) << "offset " << offset;
    }

    // The image above is checked byte by byte, so reading it back must rebuild every field.
    EXPECT_EQ(SMCParamStruct::fromWire(wire).toWire(), wire);

    // A default structure is all zero.
    const auto zero = SMCParamStruct{}.toWire();
    EXPECT_TRUE(std::all_of(zero.begin(), zero.end(), [](std::uint8_t b) { return b == 0; }));
}

TEST(SMCParamStruct, ValueBytesClampTheCountAndZeroTheRest) {
    SMCParamStruct s = filled();
    EXPECT_EQ(s.valueBytes(40).size(), 32u);
    EXPECT_TRUE(s.valueBytes(-1).empty());
    EXPECT_TRUE(s.valueBytes(0).empty());
    EXPECT_EQ(s.valueBytes(2), (std::vector<std::uint8_t>{0x80, 0x81}));

    s.setValueBytes(std::vector<std::uint8_t>{7, 8});
    EXPECT_EQ(s.valueBytes(3), (std::vector<std::uint8_t>{7, 8, 0}));
    EXPECT_EQ(s.bytes[31], 0);
    s.setValueBytes(std::vector<std::uint8_t>(40, 9)); // cut at 32
    EXPECT_EQ(s.valueBytes(40), std::vector<std::uint8_t>(32, 9));
}

} // namespace
} // namespace halvoren
