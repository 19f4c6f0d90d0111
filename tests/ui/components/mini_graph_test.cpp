#include "ui/components/mini_graph.h"
#include "ui/ui_test_support.h"

namespace halvoren {
namespace {

using MiniGraphTest = UiTest;

constexpr double frame = 1.0 / 30.0;

// Frames from `now` until the graph rests or `limit` seconds pass; returns the time it rested.
double runUntilRest(MiniGraphScroll& scroll, const MiniGraphInput& input, double now, double limit) {
    const double end = now + limit;
    while (now < end && !scroll.isPaused(input)) {
        now += frame;
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

TEST_F(MiniGraphTest, TheWidgetStopsItsTimerAtRestAndWakesOnANewSample) {
    MiniGraph graph;
    graph.resize(120, 36);
    graph.show();
    graph.setSamples({40.0});
    EXPECT_FALSE(graph.isAnimating());
    graph.setSamples({40.0, 45.0});
    EXPECT_TRUE(graph.isAnimating());
    // The widget's own clock has barely started; these frames are well past a full step.
    for (int i = 0; i < 60 && graph.isAnimating(); ++i) {
        graph.advance(10.0 + i * frame);
    }
    EXPECT_FALSE(graph.isAnimating());
    graph.setSamples({40.0, 45.0, 47.0});
    EXPECT_TRUE(graph.isAnimating());
    graph.hide();
    EXPECT_FALSE(graph.isAnimating());
}

} // namespace
} // namespace halvoren
