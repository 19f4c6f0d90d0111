#include "engine/alerts_manager.h"
#include "fakes/fake_notification_center.h"
#include "platform/clock.h"

#include <gtest/gtest.h>
#include <memory>

namespace halvoren {
namespace {

class AlertsManagerTest : public ::testing::Test {
protected:
    std::optional<std::string> banner() const { return alerts.inAppAlert().value(); }
    void overheat(double temp) {
        alerts.update(false, "CPU Die", temp);
        alerts.update(true, "CPU Die", temp);
    }

    ManualClock clock;
    std::shared_ptr<FakeNotificationCenter> center = std::make_shared<FakeNotificationCenter>();
    AlertsManager alerts{center, clock};
};

TEST_F(AlertsManagerTest, WithoutTheServiceEveryAlertIsABannerThrottledPerKey) {
    center->usable = false;
    overheat(96.2);
    EXPECT_EQ(banner(), "CPU Die is running hot at 96\u00B0C");
    alerts.update(true, "CPU Die", 99.0); // no edge
    alerts.dismissInAppAlert();
    EXPECT_EQ(banner(), std::nullopt);

    // A rule in the same second has its own throttle.
    alerts.updateRule("group.gpu", true, "Halvoren: GPU Hot", "GPU is running hot at 97\u00B0C");
    EXPECT_EQ(banner(), "GPU is running hot at 97\u00B0C");
    alerts.dismissInAppAlert();

    // A second edge within the minute is lost, and the state still follows.
    clock.advance(30.0);
    overheat(97.0);
    alerts.updateRule("group.gpu", false, "", "");
    alerts.updateRule("group.gpu", true, "Halvoren: GPU Hot", "again");
    EXPECT_EQ(banner(), std::nullopt);
    EXPECT_TRUE(alerts.ruleWasTriggered("group.gpu"));

    clock.advance(30.0);
    overheat(98.0);
    EXPECT_EQ(banner(), "CPU Die is running hot at 98\u00B0C");
    EXPECT_TRUE(center->pendingAuthorizations.empty());
    EXPECT_TRUE(center->posts.empty());
}

TEST_F(AlertsManagerTest, AsksOnceThenPostsAndFallsBackToTheBanner) {
    overheat(96.0);
    ASSERT_EQ(center->pendingAuthorizations.size(), 1U);
    EXPECT_EQ(banner(), std::nullopt); // waits for the answer

    // An edge during the question goes out at once, unauthorized.
    alerts.updateRule("group.cpu", true, "Halvoren: CPU Hot", "CPU hot");
    EXPECT_EQ(banner(), "CPU hot");
    alerts.dismissInAppAlert();

    center->answer(true);
    ASSERT_EQ(center->posts.size(), 1U);
    EXPECT_EQ(center->posts[0].title, "Halvoren: Overheating");
    EXPECT_EQ(center->posts[0].body, "CPU Die is running hot at 96\u00B0C");
    center->posts[0].done(std::nullopt);
    EXPECT_EQ(banner(), std::nullopt);

    // A failed post shows the banner.
    alerts.updateRule("fanhealth.0", true, "Halvoren: Fan May Have Failed", "Fan 1 stopped");
    ASSERT_EQ(center->posts.size(), 2U);
    center->posts[1].done("server gone");
    EXPECT_EQ(banner(), "Fan 1 stopped");
}

TEST_F(AlertsManagerTest, ARefusalAFailedQuestionOrALateAnswerLeadToNoPost) {
    for (const std::optional<std::string>& error :
         {std::optional<std::string>{}, std::optional<std::string>{"no"}}) {
        AlertsManager fresh{center, clock};
        fresh.update(true, "Battery", 46.0);
        center->answer(error.has_value(), error); // a failure even with a yes
        EXPECT_EQ(fresh.inAppAlert().value(), "Battery is running hot at 46\u00B0C");
    }
    std::make_unique<AlertsManager>(center, clock)->update(true, "CPU", 100.0);
    center->answer(true); // to a manager that is gone
    EXPECT_TRUE(center->posts.empty());
}

} // namespace
} // namespace halvoren
