#include "ui/first_run/first_run_values.h"

#include <gtest/gtest.h>

namespace halvoren::first_run {
namespace {

TEST(FirstRunValuesTest, StepsInOrderWithTheirFooters) {
    struct Case {
        Step step;
        const char* symbol;
        const char* title;
        bool back;
        bool skip;
        const char* main;
    };
    const std::vector<Case> cases{
        {Step::welcome, "fan.fill", "Welcome to Halvoren", false, true, "Get Started"},
        {Step::helper, "bolt.shield.fill", "Fan-Control Helper", true, true, "Continue"},
        {Step::notifications, "bell.badge.fill", "Overheat Alerts", true, true, "Continue"},
        {Step::loginItem, "power", "Launch at Login", true, true, "Continue"},
        {Step::done, "checkmark.circle.fill", "You're All Set", false, false, "Finish"},
    };
    ASSERT_EQ(cases.size(), steps.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        EXPECT_EQ(steps[i], c.step);
        EXPECT_EQ(stepText(c.step).symbol, c.symbol);
        EXPECT_EQ(stepText(c.step).title, QString::fromUtf8(c.title));
        EXPECT_FALSE(stepText(c.step).subtitle.isEmpty());
        const Footer f = footer(c.step);
        EXPECT_EQ(f.back, c.back) << c.title;
        EXPECT_EQ(f.skip, c.skip) << c.title;
        EXPECT_EQ(f.main, QString::fromUtf8(c.main));
        EXPECT_EQ(nextStep(c.step), i + 1 < cases.size() ? std::optional(cases[i + 1].step) : std::nullopt);
        EXPECT_EQ(previousStep(c.step), i > 0 ? std::optional(cases[i - 1].step) : std::nullopt);
    }
    EXPECT_EQ(stepText(Step::welcome).subtitle,
              "A quick, one-time setup: three short steps, then straight to the dashboard.");
}

TEST(FirstRunValuesTest, HelperStatusByState) {
    struct Case {
        HelperState state;
        const char* text;
        const char* symbol;
        HelperAction action;
        const char* actionTitle;
        const char* note;
    };
    for (const Case& c : std::vector<Case>{
             {HelperState::notRegistered(), "Not installed yet", "circle.dashed", HelperAction::install,
              "Install Helper", ""},
             {HelperState::requiresApproval(), "Needs approval in System Settings",
              "exclamationmark.triangle.fill", HelperAction::approve, "Open System Settings",
              "Approve Halvoren under Login Items & Extensions, then return here."},
             {HelperState::enabled(), "Enabled, connecting…", "bolt.badge.checkmark", HelperAction::none, "",
              ""},
             {HelperState::connected(), "Connected", "checkmark.seal.fill", HelperAction::none, "", ""},
             {HelperState::unavailable("no SMC"), "Unavailable", "xmark.octagon.fill", HelperAction::none, "",
              "no SMC"},
         }) {
        const HelperStatus status = helperStatus(c.state);
        EXPECT_EQ(status.text, QString::fromUtf8(c.text));
        EXPECT_EQ(status.symbol, c.symbol);
        EXPECT_EQ(status.action, c.action);
        EXPECT_EQ(status.actionTitle, QString::fromUtf8(c.actionTitle));
        EXPECT_EQ(status.note, QString::fromUtf8(c.note));
    }
}

TEST(FirstRunValuesTest, NotificationOutcomeAndTiming) {
    EXPECT_EQ(notificationOutcome(true).text, "Notifications enabled");
    EXPECT_TRUE(notificationOutcome(true).note.isEmpty());
    EXPECT_EQ(notificationOutcome(false).text, "Notifications not enabled");
    EXPECT_EQ(notificationOutcome(false).symbol, "bell.slash.fill");
    EXPECT_EQ(notificationOutcome(false).note,
              "You can turn these on later in System Settings › Notifications.");
    EXPECT_EQ(transitionMilliseconds(true), 150);
    EXPECT_GT(transitionMilliseconds(false), transitionMilliseconds(true));
}

} // namespace
} // namespace halvoren::first_run
