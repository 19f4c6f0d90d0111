#include "core/competing_fan_controllers.h"
#include "core/control_pipeline.h"
#include "core/dust_cycle.h"
#include "core/ema_filter.h"
#include "core/fan_curve.h"
#include "core/quiet_window.h"
#include "core/slew_limiter.h"
#include "core/target_deadband.h"
#include "core/workload_policy.h"
#include "core/write_policy.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>

namespace halvoren {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

using WritePolicy::Verdict;
using WritePolicy::vet;
using Pairs = std::vector<std::pair<double, double>>;

TEST(FanCurve, InterpolatesClampsAndHoldsTheEnds) {
    const Pairs simple{{40, 0.2}, {90, 1.0}};
    const Pairs several{{35, 0.0}, {55, 0.35}, {70, 0.65}, {85, 1.0}};
    const Pairs step{{60, 0.3}, {60, 0.8}}; // equal temperatures: a step, no division by zero
    const Pairs wild{{40, -0.2}, {90, 1.7}};
    const struct {
        const Pairs& curve;
        double temperature, expected;
    } rows[] = {
        {simple, 30, 0.2},   {simple, 65, 0.6},   {simple, 90, 1.0},
        {simple, -inf, 0.2}, {simple, nan, 1.0},  {several, 80, 0.65 + (10.0 / 15.0) * 0.35},
        {step, 60, 0.3},     {step, 60.001, 0.8}, {wild, 41, 0.0},
        {wild, 100, 1.0},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(FanCurve(row.curve).rpmPercentage(row.temperature), row.expected) << row.temperature;
    }
    FanCurve moved(simple);
    const FanCurve taken = std::move(moved);
    EXPECT_DOUBLE_EQ(taken.rpmPercentage(90), 1.0);
    EXPECT_DOUBLE_EQ(moved.rpmPercentage(90), 0.0); // NOLINT(bugprone-use-after-move)
    EXPECT_DEATH(FanCurve(Pairs{{40, 0.5}}), "at least two points");
}

TEST(FanCurve, SortsStablyAndGivesFreshIdentities) {
    // Enough equal temperatures that an unstable sort would reorder them, between the two ends given last
    // and first.
    std::vector<CurvePoint> points{CurvePoint::make(90, 1.0)};
    for (int i = 0; i < 40; ++i) {
        points.push_back(CurvePoint::make(70, i / 100.0));
    }
    points.push_back(CurvePoint::make(30, 0.0));
    std::vector<CurvePoint> expected{points.back()};
    expected.insert(expected.end(), points.begin() + 1, points.end() - 1);
    expected.push_back(points.front());
    const FanCurve curve(points);
    EXPECT_EQ(curve.points(), expected);
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(70), 0.0);   // foot of the step
    EXPECT_DOUBLE_EQ(curve.rpmPercentage(80), 0.695); // from the step's last point

    EXPECT_NE(FanCurve(Pairs{{40, 0.2}, {90, 1.0}}),
              FanCurve(Pairs{{40, 0.2}, {90, 1.0}})); // fresh point ids
    EXPECT_EQ(curve, FanCurve(curve.points()));
}

TEST(EMAFilter, ClampsAlphaAndBlendsAfterAnUnblendedSeed) {
    EXPECT_DOUBLE_EQ(EMAFilter(0).alpha(), 0.05);
    EMAFilter filter(0.3);
    filter.setAlpha(7);
    EXPECT_DOUBLE_EQ(filter.alpha(), 1.0);
    EMAFilter half(0.5);
    EXPECT_DOUBLE_EQ(half.update(1.0), 1.0);
    EXPECT_DOUBLE_EQ(half.update(0.0), 0.5);
    half.reset();
    EXPECT_FALSE(half.value.has_value());
    EXPECT_DOUBLE_EQ(half.update(0.8), 0.8);
}

TEST(WritePolicy, JudgesTheRequestFirstThenTheBoundsThenClamps) {
    const struct {
        double rpm, min, max;
        Verdict expected;
    } rows[] = {
        {-1, 1200, 6000, Verdict::reject("non-finite or negative RPM -1.0")},
        {nan, 1200, 6000, Verdict::reject("non-finite or negative RPM nan")},
        {-5, 2000, 1000, Verdict::reject("non-finite or negative RPM -5.0")}, // the request is judged first
        {1000, 2000, 1000, Verdict::reject("invalid hardware bounds [2000.0, 1000.0]")},
        {0, 0, 0, Verdict::reject("invalid hardware bounds [0.0, 0.0]")},
        {1000, nan, 6000, Verdict::reject("invalid hardware bounds [nan, 6000.0]")},
        {1000, 1200, inf, Verdict::reject("invalid hardware bounds [1200.0, inf]")},
        {1e19, 1200, 6000, Verdict::apply(6000)},
        {500, 1200, 6000, Verdict::apply(1200)},
        {3000, 2500, 2500, Verdict::apply(2500)},
        {100, -500, 6000, Verdict::apply(100)}, // only the maximum must be positive
        {-0.0, 0, 6000, Verdict::apply(0)},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(vet(row.rpm, row.min, row.max), row.expected)
            << row.rpm << " in " << row.min << "..." << row.max;
    }
    EXPECT_EQ(vet(-0.0, 0, 6000).rpm(), 0.0);
    EXPECT_EQ(vet(-1, 1200, 6000).rpm(), std::nullopt);
}

TEST(SlewLimiter, MovesAtMostRateTimesIntervalAndOtherwiseStepsStraightThere) {
    const struct {
        double rate, current, target, dt, expected;
    } rows[] = {
        {900, 1000, 2000, 0.1, 1090}, {900, 1000, 0, 0.1, 910},   {900, 1000, 1050, 0.1, 1050},
        {900, 1000, 940, 0.1, 940},   {900, 1000, 5000, 0, 5000}, {900, nan, 5000, 0.1, 5000},
        {inf, 1000, 5000, 0.1, 5000}, {0, 1000, 5000, 0.1, 5000}, {nan, 1000, 5000, 0.1, 5000},
    };
    for (const auto& row : rows) {
        const SlewLimiter limiter{row.rate};
        EXPECT_EQ(limiter.isLimited(), row.rate == 900) << row.rate;
        EXPECT_DOUBLE_EQ(limiter.step(row.current, row.target, row.dt), row.expected)
            << row.rate << " " << row.current << "->" << row.target << " in " << row.dt;
    }
}

ControlPipeline pipelineFrom40To90(double alpha) {
    return ControlPipeline{FanCurve(Pairs{{40, 0.2}, {90, 1.0}}), EMAFilter(alpha)};
}

TEST(ControlPipeline, FloorAndOverrideGoThroughTheFilter) {
    auto pipeline = pipelineFrom40To90(0.5);
    EXPECT_DOUBLE_EQ(pipeline.targetPercentage(40), 0.2);
    // The floor is applied before smoothing, so it is approached, not jumped to.
    pipeline.proactiveFloor = 0.6;
    EXPECT_DOUBLE_EQ(pipeline.targetPercentage(40), 0.4);
    EXPECT_DOUBLE_EQ(pipeline.targetPercentage(40), 0.5);
    EXPECT_DOUBLE_EQ(pipeline.targetPercentage(90), 0.75); // a hot reading above the floor wins

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
    // A NaN override survives to the write policy, which refuses it.
    auto broken = pipelineFrom40To90(0.3);
    broken.fixedOverride = nan;
    broken.proactiveFloor = 0.5;
    const double rpm = ControlPipeline::percentageToRPM(broken.targetPercentage(60), 1200, 6000);
    EXPECT_EQ(vet(rpm, 1200, 6000), Verdict::reject("non-finite or negative RPM nan"));
}

TEST(ControlPipeline, PercentageToRPMSpansTheFanRange) {
    const struct {
        double percentage, min, max, expected;
    } rows[] = {
        {0.5, 1200, 6000, 3600}, {-3, 1200, 6000, 1200}, {3, 1200, 6000, 6000}, {0.7, 2000, 2000, 2000}};
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(ControlPipeline::percentageToRPM(row.percentage, row.min, row.max), row.expected);
    }
    EXPECT_TRUE(std::isnan(ControlPipeline::percentageToRPM(nan, 1200, 6000)));
    // Unknown bounds are not a programming error; the write policy refuses the result.
    EXPECT_TRUE(std::isnan(ControlPipeline::percentageToRPM(0.5, 1200, nan)));
    EXPECT_DEATH(ControlPipeline::percentageToRPM(0.5, 6000, 1200), "fan minimum");
}

TEST(TargetDeadband, RisesBy50FallsBy150AndIgnoresNonFiniteWishes) {
    TargetDeadband band;
    // wished:          2000  2049  1851  2050  1901  1900  NaN   inf
    const double kept[] = {2000, 2000, 2000, 2050, 2050, 1900, 1900, 1900};
    const double wished[] = {2000, 2049, 1851, 2050, 1901, 1900, nan, inf};
    for (std::size_t i = 0; i < std::size(wished); ++i) {
        EXPECT_DOUBLE_EQ(band.commit(wished[i]), kept[i]) << wished[i];
    }
    band.reset();
    EXPECT_EQ(band, TargetDeadband{});
    EXPECT_TRUE(std::isnan(band.commit(nan)));
    EXPECT_FALSE(band.committed.has_value());
    EXPECT_DOUBLE_EQ(band.commit(100), 100);
}

TEST(WorkloadPolicy, BoostTakesTheLargestMatchingRow) {
    // A bundle identifier matches with any further text; a Linux name whole, or with a further dotted
    // component only.
    const std::pair<const char*, double> heavy[] = {
        {"com.adobe.PremierePro", 0.5},          {"com.adobe.PremierePro.24", 0.5},
        {"com.adobe.PremiereProBeta", 0.5},      {"com.apple.FinalCutTrial", 0.55},
        {"org.blenderfoundation.blender", 0.55}, {"org.blender.Blender", 0.55},
        {"org.blender.Blender.Daily", 0.55},     {"blender", 0.55},
        {"com.blackmagicdesign.resolve", 0.55},  {"resolve", 0.55},
    };
    for (const auto& [id, boost] : heavy) {
        EXPECT_DOUBLE_EQ(WorkloadPolicy::boost(id), boost) << id;
    }
    EXPECT_DOUBLE_EQ(WorkloadPolicy::boost("com.blackmagic-design.DaVinciResolveLite"), 0.55);
    for (const char* id : {"com.adobe.Premiere", "", "blender-thumbnailer", "blenderfoo", "blende",
                           "com.blackmagicdesign.resolve-Panels", "resolved", "systemd-resolve"}) {
        EXPECT_EQ(WorkloadPolicy::boost(id), 0.0) << id;
    }
}

TEST(WorkloadPolicy, KeepsOnlyHeavyApplicationsAndTheLargestBoostWins) {
    WorkloadPolicy policy;
    policy.appLaunched("com.apple.Safari");
    policy.appTerminated("com.apple.Safari");
    EXPECT_TRUE(policy.running.empty());

    policy.appLaunched("com.apple.dt.Xcode");
    policy.appLaunched("com.apple.FinalCut");
    policy.appLaunched("com.apple.dt.Xcode");
    EXPECT_EQ(policy.running, (std::set<std::string>{"com.apple.dt.Xcode", "com.apple.FinalCut"}));
    EXPECT_DOUBLE_EQ(policy.currentBoost(), 0.55); // not 1.0

    policy.appTerminated("com.apple.FinalCut");
    EXPECT_DOUBLE_EQ(policy.currentBoost(), 0.45);
    policy.appTerminated("com.apple.dt.Xcode");
    EXPECT_EQ(policy.currentBoost(), 0.0);

    // A seed adds to what is already running.
    policy.appLaunched("resolve");
    policy.seed({"blender", "firefox", "com.adobe.PremierePro.24"});
    policy.seed({});
    EXPECT_EQ(policy.running, (std::set<std::string>{"blender", "com.adobe.PremierePro.24", "resolve"}));
}

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
    EXPECT_EQ(DustCycle::targetRPM(0.3, 1200.0, 6000.0), 2640.0);
}

TEST(CompetingFanControllers, TheFirstRowOfTheTableWinsNotTheFirstProgram) {
    const std::set<std::string> running{"com.apple.finder", "com.bjango.istatmenus",
                                        "com.crystalidea.macsfancontrol"};
    EXPECT_EQ(competingFanControllerName(running, macCompetingFanControllers), "Macs Fan Control");
    EXPECT_EQ(competingFanControllerName({"com.bjango.istatmenus"}, macCompetingFanControllers),
              "iStat Menus");
    EXPECT_EQ(competingFanControllerName({"com.apple.finder"}, macCompetingFanControllers), std::nullopt);

    EXPECT_EQ(competingFanControllerName({"bash", "thinkfan", "mbpfan"}, linuxCompetingFanControllers),
              "mbpfan");
    EXPECT_EQ(competingFanControllerName({"coolercontrold"}, linuxCompetingFanControllers), "CoolerControl");
    // Identifiers match whole: a bundle identifier means nothing on the Linux table.
    EXPECT_EQ(competingFanControllerName({"com.crystalidea.macsfancontrol"}, linuxCompetingFanControllers),
              std::nullopt);
    // The unavailable text names the culprit when known.
    EXPECT_NE(smcUnavailableDescription("TG Pro").find("TG Pro is running"), std::string::npos);
    EXPECT_EQ(smcUnavailableDescription(std::nullopt), "Couldn't open the SMC. Retrying automatically.");
}

} // namespace
} // namespace halvoren
