#include "core/dust_cycle.h"
#include "core/quiet_window.h"

#include <gtest/gtest.h>
#include <limits>

namespace halvoren {
namespace {

TEST(QuietWindow, EndIsOutsideAndEqualBoundsAreEmpty) {
    struct Case {
        int minute, start, end;
        bool inside;
    };
    const Case cases[] = {
        {1320, 1320, 480, true}, {1319, 1320, 480, false}, {0, 1320, 480, true},    {479, 1320, 480, true},
        {480, 1320, 480, false}, {480, 480, 1320, true},   {1319, 480, 1320, true}, {1320, 480, 1320, false},
        {479, 480, 1320, false}, {600, 600, 600, false},   {0, 0, 0, false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(isInQuietWindow(c.minute, c.start, c.end), c.inside)
            << c.minute << " in " << c.start << "..." << c.end;
    }
}

TEST(DustCycleVerdict, WalksThePatternAndAbortsHelperFirstThenHeat) {
    using Kind = DustCycle::Verdict::Kind;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        double elapsed, temp;
        bool helper;
        DustCycle::Verdict verdict;
    };
    const Case cases[] = {
        {0.0, 50.0, true, {Kind::run, 0.8, 0, 25.0}}, {2.999, 50.0, true, {Kind::run, 0.8, 0, 25.0 - 2.999}},
        {3.0, 50.0, true, {Kind::run, 0.3, 1, 22.0}}, // a boundary belongs to the later step
        {5.0, 50.0, true, {Kind::run, 0.8, 2, 20.0}}, {24.9, 84.9, true, {Kind::run, 0.3, 9, 25.0 - 24.9}},
        {25.0, 50.0, true, {Kind::finished}},         {1.0, 85.0, true, {Kind::abortOverTemp}},
        {1.0, nan, true, {Kind::abortOverTemp}},      {1.0, 90.0, false, {Kind::abortHelperLost}},
        {30.0, 50.0, false, {Kind::abortHelperLost}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(DustCycle::verdict(c.elapsed, c.temp, c.helper), c.verdict)
            << c.elapsed << " s at " << c.temp;
    }
    EXPECT_EQ(DustCycle::targetRPM(0.8, 1200.0, 6000.0), 5040.0);
    EXPECT_EQ(DustCycle::targetRPM(0.3, 1200.0, 6000.0), 2640.0);
}

} // namespace
} // namespace halvoren
