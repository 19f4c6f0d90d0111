#include "core/competing_fan_controllers.h"
#include "core/dust_cycle.h"
#include "core/quiet_window.h"
#include "core/workload_policy.h"

#include <gtest/gtest.h>
#include <limits>
#include <set>
#include <string>

namespace halvoren {
namespace {

TEST(WorkloadPolicy, BoostTakesTheLargestMatchingRow) {
    // A bundle identifier matches with any further text; a Linux name whole, or with a further dotted
    // component only.
    const std::pair<const char*, double> heavy[] = {{"com.adobe.PremierePro", 0.5},
                                                    {"com.adobe.PremierePro.24", 0.5},
                                                    {"com.adobe.PremiereProBeta", 0.5},
                                                    {"com.apple.FinalCutTrial", 0.55},
                                                    {"org.blenderfoundation.blender", 0.55},
                                                    {"com.blackmagic-design.DaVinciResolveLite", 0.55},
                                                    {"org.blender.Blender", 0.55},
                                                    {"org.blender.Blender.Daily", 0.55},
                                                    {"blender", 0.55},
                                                    {"com.blackmagicdesign.resolve", 0.55},
                                                    {"resolve", 0.55}};
    for (const auto& [id, boost] : heavy) {
        EXPECT_DOUBLE_EQ(WorkloadPolicy::boost(id), boost) << id;
    }
    for (const char* id : {"com.adobe.Premiere", "", "blender-thumbnailer", "blenderfoo", "blende",
                           "com.blackmagicdesign.resolve-Panels", "resolved", "systemd-resolve"}) {
        EXPECT_EQ(WorkloadPolicy::boost(id), 0.0) << id;
    }
}

TEST(WorkloadPolicy, KeepsOnlyHeavyApplicationsAndTheLargestBoostWins) {
    WorkloadPolicy policy;
    EXPECT_EQ(policy.currentBoost(), 0.0);

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
}

TEST(WorkloadPolicy, SeedAddsToWhatIsAlreadyRunning) {
    WorkloadPolicy policy;
    policy.appLaunched("resolve");
    policy.seed({"blender", "firefox", "com.adobe.PremierePro.24"});
    EXPECT_EQ(policy.running, (std::set<std::string>{"blender", "com.adobe.PremierePro.24", "resolve"}));
    policy.seed({});
    EXPECT_EQ(policy.running.size(), 3U);
    EXPECT_DOUBLE_EQ(policy.currentBoost(), 0.55);
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

TEST(CompetingFanControllers, TheFirstRowOfTheTableWinsNotTheFirstProgram) {
    const std::set<std::string> running{"com.apple.finder", "com.bjango.istatmenus",
                                        "com.crystalidea.macsfancontrol"};
    EXPECT_EQ(competingFanControllerName(running, macCompetingFanControllers), "Macs Fan Control");
    EXPECT_EQ(competingFanControllerName({"com.bjango.istatmenus"}, macCompetingFanControllers),
              "iStat Menus");
    EXPECT_EQ(competingFanControllerName({"com.apple.finder"}, macCompetingFanControllers), std::nullopt);
    EXPECT_EQ(competingFanControllerName({}, macCompetingFanControllers), std::nullopt);

    EXPECT_EQ(competingFanControllerName({"bash", "thinkfan", "mbpfan"}, linuxCompetingFanControllers),
              "mbpfan");
    EXPECT_EQ(competingFanControllerName({"coolercontrold"}, linuxCompetingFanControllers), "CoolerControl");
    // Identifiers match whole: a bundle identifier means nothing on the Linux table.
    EXPECT_EQ(competingFanControllerName({"com.crystalidea.macsfancontrol"}, linuxCompetingFanControllers),
              std::nullopt);
}

TEST(CompetingFanControllers, UnavailableDescriptionNamesTheCulpritWhenKnown) {
    EXPECT_NE(smcUnavailableDescription("TG Pro").find("TG Pro is running"), std::string::npos);
    EXPECT_EQ(smcUnavailableDescription(std::nullopt), "Couldn't open the SMC. Retrying automatically.");
}

} // namespace
} // namespace halvoren
