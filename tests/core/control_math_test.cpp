#include "core/control_pipeline.h"
#include "core/ema_filter.h"
#include "core/fan_curve.h"
#include "core/slew_limiter.h"
#include "core/target_deadband.h"
#include "core/write_policy.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>
#include <set>

namespace halvoren {

namespace WritePolicy {
void PrintTo(const Verdict& verdict, std::ostream* os) {
    if (verdict.isApply()) {
        *os << "apply(" << *verdict.rpm() << ")";
    } else {
        *os << "reject(\"" << verdict.reason() << "\")";
    }
}
} // namespace WritePolicy

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

using WritePolicy::Verdict;
using WritePolicy::vet;

TEST(FanCurve, InterpolatesAndHoldsTheEnds) {
    const FanCurve curve({{40, 0.2}, {90, 1.0}});
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(30), 0.2);
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(40), 0.2);
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(65), 0.6);
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(90), 1.0);
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(120), 1.0);
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(-inf), 0.2);
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(inf), 1.0);
    // An unusable reading goes to the top, not the bottom.
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(nan), 1.0);

    const FanCurve several({{35, 0.0}, {55, 0.35}, {70, 0.65}, {85, 1.0}});
    EXPECT_DOUBLE_EQ(several.rpmPercentage(55), 0.35);
    EXPECT_DOUBLE_EQ(several.rpmPercentage(62.5), 0.5);
    EXPECT_DOUBLE_EQ(several.rpmPercentage(80), 0.65 + (10.0 / 15.0) * 0.35);
}

TEST(FanCurve, StepsAndOutOfRangeFractions) {
    // Equal temperatures make a step, without a division by zero.
    const FanCurve step({{60, 0.3}, {60, 0.8}});
    EXPECT_DOUBLE_EQ(step.rpmPercentage(50), 0.3);
    EXPECT_DOUBLE_EQ(step.rpmPercentage(60), 0.3);
    EXPECT_DOUBLE_EQ(step.rpmPercentage(60.001), 0.8);

    const FanCurve wild({{40, -0.2}, {90, 1.7}});
    EXPECT_DOUBLE_EQ(wild.rpmPercentage(20), 0.0);
    EXPECT_DOUBLE_EQ(wild.rpmPercentage(41), 0.0);
    EXPECT_DOUBLE_EQ(wild.rpmPercentage(65), 0.75);
    EXPECT_DOUBLE_EQ(wild.rpmPercentage(100), 1.0);

    FanCurve moved({{40, 0.2}, {90, 1.0}});
    const FanCurve taken = std::move(moved);
    EXPECT_DOUBLE_EQ(taken.rpmPercentage(90), 1.0);
    EXPECT_DOUBLE_EQ(moved.rpmPercentage(90), 0.0); // NOLINT(bugprone-use-after-move)
}

TEST(FanCurve, SortsStablyAndGivesFreshIdentities) {
    // Enough equal temperatures that an unstable sort would reorder them.
    std::vector<CurvePoint> points;
    for (int i = 0; i < 40; ++i) {
        points.push_back(CurvePoint::make(70, i / 100.0));
    }
    points.push_back(CurvePoint::make(90, 1.0));
    points.insert(points.begin() + 20, CurvePoint::make(30, 0.0));
    std::vector<CurvePoint> expected;
    expected.push_back(points[20]);
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (i != 20 && points[i].temperature == 70) {
            expected.push_back(points[i]);
        }
    }
    expected.push_back(points.back());
    const FanCurve curve(points);
    EXPECT_EQ(curve.points(), expected);
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(70), 0.0);   // foot of the step
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(80), 0.695); // from the step's last point

    const FanCurve a({{40, 0.2}, {90, 1.0}});
    const FanCurve b({{40, 0.2}, {90, 1.0}});
    std::set<Uuid> ids;
    for (const auto& p : a.points()) {
        EXPECT_FALSE(p.id.isNil());
        ids.insert(p.id);
    }
    for (const auto& p : b.points()) {
        ids.insert(p.id);
    }
    EXPECT_EQ(ids.size(), 4U);
    EXPECT_NE(a, b);
    EXPECT_EQ(a, FanCurve(a.points()));
}

TEST(FanCurveDeathTest, FewerThanTwoPointsAbort) {
    EXPECT_DEATH(FanCurve(std::vector<CurvePoint>{}), "at least two points");
    EXPECT_DEATH(FanCurve({CurvePoint::make(40, 0.5)}), "at least two points");
    EXPECT_DEATH(FanCurve(std::vector<std::pair<double, double>>{{40, 0.5}}), "at least two points");
}

TEST(EMAFilter, ClampsAlphaAndBlends) {
    EXPECT_DOUBLE_EQ(EMAFilter(0).alpha(), 0.05);
    EXPECT_DOUBLE_EQ(EMAFilter(2).alpha(), 1.0);
    EMAFilter filter(0.3);
    filter.setAlpha(0.01);
    EXPECT_DOUBLE_EQ(filter.alpha(), 0.05);
    filter.setAlpha(7);
    EXPECT_DOUBLE_EQ(filter.alpha(), 1.0);
    EXPECT_DOUBLE_EQ(filter.update(0.4), 0.4);
    EXPECT_DOUBLE_EQ(filter.update(0.9), 0.9); // alpha 1 passes its input

    EMAFilter half(0.5);
    EXPECT_FALSE(half.value.has_value());
    EXPECT_DOUBLE_EQ(half.update(1.0), 1.0); // the first sample seeds unblended
    EXPECT_DOUBLE_EQ(half.update(0.0), 0.5);
    EXPECT_DOUBLE_EQ(half.update(0.0), 0.25);
    EXPECT_EQ(half.value, 0.25);
    half.reset();
    EXPECT_FALSE(half.value.has_value());
    EXPECT_DOUBLE_EQ(half.update(0.8), 0.8);
}

TEST(WritePolicy, RejectsBadRequestsAndBoundsWithExactReasons) {
    EXPECT_EQ(vet(-1, 1200, 6000), Verdict::reject("non-finite or negative RPM -1.0"));
    EXPECT_EQ(vet(nan, 1200, 6000), Verdict::reject("non-finite or negative RPM nan"));
    EXPECT_EQ(vet(inf, 1200, 6000), Verdict::reject("non-finite or negative RPM inf"));
    EXPECT_EQ(vet(1000, 2000, 1000), Verdict::reject("invalid hardware bounds [2000.0, 1000.0]"));
    EXPECT_EQ(vet(0, 0, 0), Verdict::reject("invalid hardware bounds [0.0, 0.0]"));
    EXPECT_EQ(vet(1000, nan, 6000), Verdict::reject("invalid hardware bounds [nan, 6000.0]"));
    EXPECT_EQ(vet(1000, 1200, inf), Verdict::reject("invalid hardware bounds [1200.0, inf]"));
    // The request is judged first.
    EXPECT_EQ(vet(-5, 2000, 1000), Verdict::reject("non-finite or negative RPM -5.0"));

    const Verdict refused = vet(-1, 1200, 6000);
    EXPECT_TRUE(refused.isReject());
    EXPECT_EQ(refused.rpm(), std::nullopt);
}

TEST(WritePolicy, AppliesWithinBounds) {
    EXPECT_EQ(vet(1e19, 1200, 6000), Verdict::apply(6000));
    EXPECT_EQ(vet(500, 1200, 6000), Verdict::apply(1200));
    EXPECT_EQ(vet(3000, 1200, 6000), Verdict::apply(3000));
    EXPECT_EQ(vet(3000, 2500, 2500), Verdict::apply(2500));
    EXPECT_EQ(vet(100, -500, 6000), Verdict::apply(100)); // only the maximum must be positive

    const Verdict zero = vet(-0.0, 0, 6000);
    ASSERT_TRUE(zero.isApply());
    EXPECT_EQ(zero.rpm(), 0.0);
    EXPECT_TRUE(zero.reason().empty());
    EXPECT_TRUE(vet(-0.0, -10, 6000).isApply());

    EXPECT_NE(Verdict::apply(1000), Verdict::apply(1001));
    EXPECT_NE(Verdict::apply(0), Verdict::reject(""));
}

TEST(SlewLimiter, MovesAtMostRateTimesInterval) {
    const SlewLimiter limiter{900};
    EXPECT_TRUE(limiter.isLimited());
    EXPECT_DOUBLE_EQ(limiter.step(1000, 2000, 0.1), 1090);
    EXPECT_DOUBLE_EQ(limiter.step(1000, 0, 0.1), 910);
    EXPECT_DOUBLE_EQ(limiter.step(1000, 1050, 0.1), 1050);
    EXPECT_DOUBLE_EQ(limiter.step(1000, 940, 0.1), 940);
    EXPECT_DOUBLE_EQ(limiter.step(1000, 1000, 0.1), 1000);

    double current = 1200;
    for (int tick = 0; tick < 10; ++tick) {
        const double next = limiter.step(current, 2000, 0.1);
        EXPECT_LE(next - current, 90 + 1e-9);
        current = next;
    }
    EXPECT_NEAR(current, 2000, 1e-9);
}

TEST(SlewLimiter, StepsStraightToTargetWithoutUsableInputs) {
    for (const double rate : {inf, 0.0, -900.0, nan}) {
        const SlewLimiter limiter{rate};
        EXPECT_FALSE(limiter.isLimited()) << rate;
        EXPECT_DOUBLE_EQ(limiter.step(1000, 5000, 0.1), 5000) << rate;
    }
    const SlewLimiter limiter{900};
    EXPECT_DOUBLE_EQ(limiter.step(1000, 5000, 0), 5000);
    EXPECT_DOUBLE_EQ(limiter.step(1000, 5000, -0.1), 5000);
    EXPECT_DOUBLE_EQ(limiter.step(1000, 5000, nan), 5000);
    EXPECT_DOUBLE_EQ(limiter.step(nan, 5000, 0.1), 5000);
    EXPECT_DOUBLE_EQ(limiter.step(inf, 5000, 0.1), 5000);
}

ControlPipeline pipelineFrom40To90(double alpha) {
    return ControlPipeline{FanCurve({{40, 0.2}, {90, 1.0}}), EMAFilter(alpha)};
}

TEST(ControlPipeline, FloorAndOverrideGoThroughTheFilter) {
    auto pipeline = pipelineFrom40To90(0.5);
    EXPECT_DOUBLE_EQ(pipeline.targetPercentage(40), 0.2);
    // The floor is applied before smoothing, so it is approached, not jumped to.
    pipeline.proactiveFloor = 0.6;
    EXPECT_DOUBLE_EQ(pipeline.targetPercentage(40), 0.4);
    EXPECT_DOUBLE_EQ(pipeline.targetPercentage(40), 0.5);
    // A hot reading above the floor wins.
    EXPECT_DOUBLE_EQ(pipeline.targetPercentage(90), 0.75);

    auto fixed = pipelineFrom40To90(0.5);
    fixed.fixedOverride = 1.5; // clamped to 1
    EXPECT_DOUBLE_EQ(fixed.targetPercentage(40), 1.0);
    fixed.fixedOverride = 0.1;
    fixed.proactiveFloor = 0.3;
    EXPECT_DOUBLE_EQ(fixed.targetPercentage(90), 0.65); // floor over override, smoothed
    fixed.proactiveFloor = 2.0;                         // clamped to 1
    EXPECT_DOUBLE_EQ(fixed.targetPercentage(40), 0.825);

    // A NaN floor raises nothing; a NaN temperature reads as the top of the curve.
    auto fresh = pipelineFrom40To90(0.5);
    fresh.proactiveFloor = nan;
    EXPECT_DOUBLE_EQ(fresh.targetPercentage(nan), 1.0);

    // The result is clamped even if the filter holds more than a fraction.
    auto odd = pipelineFrom40To90(0.05);
    odd.ema.value = 3.0;
    EXPECT_DOUBLE_EQ(odd.targetPercentage(40), 1.0);
}

TEST(ControlPipeline, PercentageToRPMSpansTheFanRange) {
    EXPECT_DOUBLE_EQ(ControlPipeline::percentageToRPM(0, 1200, 6000), 1200);
    EXPECT_DOUBLE_EQ(ControlPipeline::percentageToRPM(0.5, 1200, 6000), 3600);
    EXPECT_DOUBLE_EQ(ControlPipeline::percentageToRPM(1, 1200, 6000), 6000);
    EXPECT_DOUBLE_EQ(ControlPipeline::percentageToRPM(-3, 1200, 6000), 1200);
    EXPECT_DOUBLE_EQ(ControlPipeline::percentageToRPM(3, 1200, 6000), 6000);
    EXPECT_DOUBLE_EQ(ControlPipeline::percentageToRPM(0.7, 2000, 2000), 2000);
    EXPECT_TRUE(std::isnan(ControlPipeline::percentageToRPM(nan, 1200, 6000)));
    // Unknown bounds are not a programming error; the write policy refuses the result.
    EXPECT_TRUE(std::isnan(ControlPipeline::percentageToRPM(0.5, 1200, nan)));
}

TEST(ControlPipeline, NaNReachesTheWritePolicyAndIsRejected) {
    auto pipeline = pipelineFrom40To90(0.3);
    pipeline.fixedOverride = nan;
    pipeline.proactiveFloor = 0.5;
    const double percentage = pipeline.targetPercentage(60);
    EXPECT_TRUE(std::isnan(percentage));
    const double rpm = ControlPipeline::percentageToRPM(percentage, 1200, 6000);
    EXPECT_EQ(vet(rpm, 1200, 6000), Verdict::reject("non-finite or negative RPM nan"));
}

TEST(ControlPipelineDeathTest, MinimumAboveMaximumAborts) {
    EXPECT_DEATH(ControlPipeline::percentageToRPM(0.5, 6000, 1200), "fan minimum");
}

TEST(TargetDeadband, RisesEarlyFallsLateAndCommitsOnBothEdges) {
    TargetDeadband band;
    EXPECT_DOUBLE_EQ(band.commit(2000), 2000);
    EXPECT_DOUBLE_EQ(band.commit(2049), 2000);
    EXPECT_DOUBLE_EQ(band.commit(1851), 2000);
    EXPECT_EQ(band.committed, 2000);
    EXPECT_DOUBLE_EQ(band.commit(2050), 2050);
    EXPECT_DOUBLE_EQ(band.commit(1901), 2050);
    EXPECT_DOUBLE_EQ(band.commit(1900), 1900);
    EXPECT_EQ(band, TargetDeadband{1900.0});

    TargetDeadband falling{2000.0};
    EXPECT_DOUBLE_EQ(falling.commit(1850), 1850);

    // A non-finite wish changes nothing.
    EXPECT_DOUBLE_EQ(band.commit(nan), 1900);
    EXPECT_DOUBLE_EQ(band.commit(inf), 1900);
    EXPECT_EQ(band.committed, 1900);
    band.reset();
    EXPECT_EQ(band, TargetDeadband{});
    EXPECT_TRUE(std::isnan(band.commit(nan)));
    EXPECT_FALSE(band.committed.has_value());
    EXPECT_DOUBLE_EQ(band.commit(100), 100);
}

} // namespace
} // namespace halvoren
