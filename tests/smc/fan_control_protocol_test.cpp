#include "smc/fan_control_protocol.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace halvoren {
namespace {

TEST(FanControlProtocol, KeysTellTheGeneration) {
    struct Case {
        std::set<std::string> keys;
        FanControlProtocol expected;
    };
    const Case cases[] = {
        {{"F0Ac", "F0Tg", "FS! "}, {FanControl::forceBits, false}}, // Intel before the T2
        {{"F0Ac", "F0Tg", "F0Md"}, {FanControl::modeKey, false}},   // T2 Intel, M1, the M2 Max dump
        {{"F0Md", "Ftst"}, {FanControl::unlockModeKey, false}},     // M2 to M4
        {{"F0md", "F0Tg"}, {FanControl::modeKey, true}},            // M5
        {{"F0md", "Ftst"}, {FanControl::unlockModeKey, true}},
        {{"F0Md", "FS! "}, {FanControl::modeKey, false}},   // a mode key wins over the bits
        {{"FS! ", "Ftst"}, {FanControl::forceBits, false}}, // Ftst alone unlocks nothing
        {{"F1Md", "F0Tg"}, {FanControl::none, false}},      // fan 0's keys decide
        {{"F0Ac", "F0Tg", "Ftst"}, {FanControl::none, false}},
    };
    for (const auto& c : cases) {
        const auto found =
            fanControlProtocol([&c](std::string_view key) { return c.keys.contains(std::string(key)); });
        EXPECT_EQ(found, c.expected) << found.description() << " for " << *c.keys.begin();
    }
    EXPECT_EQ((FanControlProtocol{FanControl::modeKey, true}.modeKey(7)), "F7md");
    EXPECT_EQ((FanControlProtocol{FanControl::unlockModeKey, false}.modeKey(1)), "F1Md");
}

} // namespace
} // namespace halvoren
