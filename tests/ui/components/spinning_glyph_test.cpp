#include "ui/components/spinning_glyph.h"
#include "ui/ui_test_support.h"

#include <cmath>
#include <numbers>

namespace halvoren {
namespace {

using SpinningGlyphTest = UiTest;

constexpr double frame = 1.0 / 12.0;

TEST(SpinPhaseTest, ALongGapMovesAtMostATenthOfASecondsTurning) {
    SpinPhase phase;
    double now = 0.0;
    for (int i = 0; i < 36; ++i) {
        phase.advance(now += frame, 2.0, false);
    }
    ASSERT_NEAR(phase.velocity, 2.0, 1e-3);
    const double before = phase.angle;
    phase.advance(now + 10.0, 2.0, false);
    const double moved = std::remainder(phase.angle - before, 2.0 * std::numbers::pi);
    EXPECT_GT(moved, 0.0);
    EXPECT_LE(moved, 0.1 * 2.0 + 1e-9);
    // A clock that steps back does not turn the glyph backwards.
    const double angle = phase.angle;
    phase.advance(now, 2.0, false);
    EXPECT_EQ(phase.angle, angle);
}

TEST(SpinPhaseTest, SpinsUpAndCoastsDownInAboutAQuarterSecondThenRests) {
    SpinPhase phase;
    EXPECT_EQ(phase.advance(0.0, 4.0, false), 0.0); // the first call has no interval
    double now = 0.0;
    while (now < 0.25) {
        now += frame;
        phase.advance(now, 4.0, false);
    }
    EXPECT_GT(phase.velocity, 4.0 * 0.55);
    EXPECT_LT(phase.velocity, 4.0);
    int frames = 0;
    while (!phase.atRest(0.0) && frames < 100) {
        now += frame;
        phase.advance(now, 0.0, false);
        ++frames;
    }
    EXPECT_EQ(phase.velocity, 0.0);
    EXPECT_LT(frames, 30);
    // Reduced motion stands the glyph upright and forgets the time.
    phase.advance(now + frame, 4.0, true);
    EXPECT_EQ(phase.angle, 0.0);
    EXPECT_FALSE(phase.lastTime);
}

TEST_F(SpinningGlyphTest, TheTimerRunsOnlyWhileVisibleAndMoving) {
    SpinningGlyph glyph;
    glyph.setAngularVelocity(3.0);
    EXPECT_FALSE(glyph.isAnimating()); // hidden
    glyph.show();
    EXPECT_TRUE(glyph.isAnimating());
    glyph.hide();
    EXPECT_FALSE(glyph.isAnimating());
    glyph.show();
    double now = 0.0;
    for (int i = 0; i < 12; ++i) {
        glyph.advance(now += frame);
    }
    glyph.setAngularVelocity(0.0);
    EXPECT_TRUE(glyph.isAnimating()); // still coasting
    for (int i = 0; i < 60 && glyph.isAnimating(); ++i) {
        glyph.advance(now += frame);
    }
    EXPECT_FALSE(glyph.isAnimating());
    EXPECT_EQ(glyph.phase().velocity, 0.0);

    glyph.setAngularVelocity(3.0);
    EXPECT_TRUE(glyph.isAnimating());
    glyph.setReduceMotion(true);
    EXPECT_FALSE(glyph.isAnimating());
    EXPECT_EQ(glyph.phase().angle, 0.0);
}

} // namespace
} // namespace halvoren
