#include "core/workload_policy.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace halvoren {
namespace {

TEST(WorkloadPolicy, BoostTakesTheLargestMatchingRow) {
    const struct {
        const char* id;
        double boost;
    } rows[] = {
        {"com.adobe.PremierePro", 0.5},
        {"com.adobe.PremierePro.24", 0.5}, // a further component
        {"com.adobe.PremiereProBeta", 0.5},
        {"com.adobe.Premiere", 0.0}, // stops short of the whole prefix
        {"com.apple.FinalCutTrial", 0.55},
        {"org.blenderfoundation.blender", 0.55},
        {"com.blackmagic-design.DaVinciResolveLite", 0.55},
        {"", 0.0},
        // Linux names match whole, or with a further dotted component only.
        {"org.blender.Blender", 0.55},
        {"org.blender.Blender.Daily", 0.55},
        {"blender", 0.55},
        {"blender-thumbnailer", 0.0},
        {"blenderfoo", 0.0},
        {"blende", 0.0},
        {"com.blackmagicdesign.resolve", 0.55},
        {"com.blackmagicdesign.resolve-Panels", 0.0},
        {"resolve", 0.55},
        {"resolved", 0.0},
        {"systemd-resolve", 0.0},
    };
    for (const auto& row : rows) {
        EXPECT_DOUBLE_EQ(WorkloadPolicy::boost(row.id), row.boost) << row.id;
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

} // namespace
} // namespace halvoren
