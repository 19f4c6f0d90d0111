// The animated components: each turns or scrolls only while there is something to show, and its
// timer stops when it rests.

#include "ui/components/mini_graph.h"
#include "ui/components/spinning_glyph.h"
#include "ui/ui_test_support.h"

#include <cmath>
#include <numbers>

namespace halvoren {
namespace {

using AnimatedComponentTest = UiTest;

constexpr double graphFrame = 1.0 / 30.0;
constexpr double glyphFrame = 1.0 / 12.0;

// Frames from `now` until the graph rests or `limit` seconds pass; returns the time it rested.
double runUntilRest(MiniGraphScroll& scroll, const MiniGraphInput& input, double now, double limit) {
    const double end = now + limit;
    while (now < end && !scroll.isPaused(input)) {
        now += graphFrame;
        scroll.frame(input, now, 1.0);
    }
    return now;
}

TEST(MiniGraphScrollTest, OneSampleIsPausedAndTwoScrollThenRest) {
    MiniGraphScroll scroll;
    std::vector<double> samples{40.0};
    EXPECT_TRUE(scroll.isPaused({samples}));
    scroll.frame({samples}, 0.0, 1.0);
    EXPECT_TRUE(scroll.isPaused({samples}));

    samples.push_back(50.0);
    EXPECT_FALSE(scroll.isPaused({samples}));
    scroll.frame({samples}, 0.0, 1.0);
    EXPECT_FALSE(scroll.isPaused({samples}));
    // Rests once a full step has scrolled and the newest point has caught up, not before.
    const double rested = runUntilRest(scroll, {samples}, 0.0, 5.0);
    EXPECT_GE(rested, 1.0);
    EXPECT_LT(rested, 1.2);
    EXPECT_TRUE(scroll.atRest);
    EXPECT_NEAR(*scroll.displayedNewest, 50.0, 0.002 * 10.0);
}

TEST(MiniGraphScrollTest, ANewSampleWakesARestingGraph) {
    struct Case {
        const char* name;
        std::vector<double> next;
        std::optional<int> clock;
        bool wakes;
    };
    const Case cases[] = {
        {"new count", {40.0, 50.0, 50.0}, std::nullopt, true},
        {"new newest value", {40.0, 52.0}, std::nullopt, true},
        {"nothing new", {40.0, 50.0}, std::nullopt, false},
        {"new clock, same values", {40.0, 50.0}, 8, true},
        {"same clock, new values", {40.0, 50.0, 60.0}, 7, false},
    };
    for (const Case& c : cases) {
        MiniGraphScroll scroll;
        const std::vector<double> first{40.0, 50.0};
        const std::optional<int> firstClock = c.clock ? std::optional(7) : std::nullopt;
        scroll.frame({first, firstClock}, 0.0, 1.0);
        runUntilRest(scroll, {first, firstClock}, 0.0, 5.0);
        ASSERT_TRUE(scroll.isPaused({first, firstClock})) << c.name;
        EXPECT_EQ(scroll.isPaused({c.next, c.clock}), !c.wakes) << c.name;
    }
}

TEST(MiniGraphScrollTest, EasingIsCappedPerFrameAndReducedMotionRestsAtOnce) {
    MiniGraphScroll scroll;
    EXPECT_EQ(scroll.easedNewest(10.0, 0.0), 10.0);
    // A long gap eases as if a tenth of a second had passed.
    const double eased = scroll.easedNewest(20.0, 30.0);
    EXPECT_NEAR(eased, 10.0 + 10.0 * (1.0 - std::exp(-1.0)), 1e-9);
    EXPECT_EQ(scroll.easedNewest(30.0, 30.0), eased);

    MiniGraphScroll still;
    const std::vector<double> samples{1.0, 2.0, 3.0};
    EXPECT_EQ(still.frame({samples, std::nullopt, std::nullopt, true}, 0.0, 1.0), 3.0);
    EXPECT_TRUE(still.isPaused({samples, std::nullopt, std::nullopt, true}));
}

TEST(MiniGraphRangeTest, GivenRangeWinsAndAFlatLineStillHasASpan) {
    EXPECT_EQ(miniGraphRange({3.0, 9.0}, ClosedRange{0.0, 100.0}).upper, 100.0);
    const ClosedRange own = miniGraphRange({3.0, 9.0, 5.0}, std::nullopt);
    EXPECT_EQ(own.lower, 3.0);
    EXPECT_EQ(own.upper, 9.0);
    const ClosedRange flat = miniGraphRange({4.0, 4.0}, std::nullopt);
    EXPECT_GT(flat.upper - flat.lower, 0.0);
}

TEST_F(AnimatedComponentTest, TheWidgetStopsItsTimerAtRestAndWakesOnANewSample) {
    MiniGraph graph;
    graph.resize(120, 36);
    graph.show();
    graph.setSamples({40.0});
    EXPECT_FALSE(graph.isAnimating());
    graph.setSamples({40.0, 45.0});
    EXPECT_TRUE(graph.isAnimating());
    // The widget's own clock has barely started; these frames are well past a full step.
    for (int i = 0; i < 60 && graph.isAnimating(); ++i) {
        graph.advance(10.0 + i * graphFrame);
    }
    EXPECT_FALSE(graph.isAnimating());
    graph.setSamples({40.0, 45.0, 47.0});
    EXPECT_TRUE(graph.isAnimating());
    graph.hide();
    EXPECT_FALSE(graph.isAnimating());
}

TEST(SpinPhaseTest, SpinsUpAndCoastsDownInAboutAQuarterSecondAndALongGapTurnsItAtMostATenthOfOne) {
    SpinPhase phase;
    EXPECT_EQ(phase.advance(0.0, 4.0, false), 0.0); // the first call has no interval
    double now = 0.0;
    while (now < 0.25) {
        now += glyphFrame;
        phase.advance(now, 4.0, false);
    }
    EXPECT_GT(phase.velocity, 4.0 * 0.55);
    EXPECT_LT(phase.velocity, 4.0);
    for (int i = 0; i < 36; ++i) {
        phase.advance(now += glyphFrame, 4.0, false);
    }
    ASSERT_NEAR(phase.velocity, 4.0, 1e-3);
    const double before = phase.angle;
    phase.advance(now + 10.0, 4.0, false);
    const double moved = std::remainder(phase.angle - before, 2.0 * std::numbers::pi);
    EXPECT_GT(moved, 0.0);
    EXPECT_LE(moved, 0.1 * 4.0 + 1e-9);
    // A clock that steps back does not turn the glyph backwards.
    const double angle = phase.angle;
    phase.advance(now, 4.0, false);
    EXPECT_EQ(phase.angle, angle);

    now += 10.0;
    int frames = 0;
    while (!phase.atRest(0.0) && frames < 100) {
        now += glyphFrame;
        phase.advance(now, 0.0, false);
        ++frames;
    }
    EXPECT_EQ(phase.velocity, 0.0);
    EXPECT_LT(frames, 30);
    // Reduced motion stands the glyph upright and forgets the time.
    phase.advance(now + glyphFrame, 4.0, true);
    EXPECT_EQ(phase.angle, 0.0);
    EXPECT_FALSE(phase.lastTime);
}

TEST_F(AnimatedComponentTest, TheTimerRunsOnlyWhileVisibleAndMoving) {
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
        glyph.advance(now += glyphFrame);
    }
    glyph.setAngularVelocity(0.0);
    EXPECT_TRUE(glyph.isAnimating()); // still coasting
    for (int i = 0; i < 60 && glyph.isAnimating(); ++i) {
        glyph.advance(now += glyphFrame);
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
