#include "ui/first_run/first_run_values.h"

#include <gtest/gtest.h>

namespace halvoren::first_run {
namespace {

TEST(FirstRunValuesTest, StepsInOrderWithTheirFooters) {
    struct Case {
        Step step;
        bool back;
        bool skip;
        const char* main;
    };
    const std::vector<Case> cases{
        {Step::welcome, false, true, "Get Started"},   {Step::helper, true, true, "Continue"},
        {Step::notifications, true, true, "Continue"}, {Step::loginItem, true, true, "Continue"},
        {Step::done, false, false, "Finish"},
    };
    ASSERT_EQ(cases.size(), steps.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        EXPECT_EQ(steps[i], c.step);
        const Footer f = footer(c.step);
        EXPECT_EQ(f.back, c.back) << i;
        EXPECT_EQ(f.skip, c.skip) << i;
        EXPECT_EQ(f.main, QString::fromUtf8(c.main)) << i;
        EXPECT_EQ(nextStep(c.step), i + 1 < cases.size() ? std::optional(cases[i + 1].step) : std::nullopt);
        EXPECT_EQ(previousStep(c.step), i > 0 ? std::optional(cases[i - 1].step) : std::nullopt);
    }
    EXPECT_GT(transitionMilliseconds(false), transitionMilliseconds(true));
}

// The step's texts are the view's to check; here, what each state offers to do.
TEST(FirstRunValuesTest, HelperActionAndNoteByState) {
    struct Case {
        HelperState state;
        HelperAction action;
        const char* note;
    };
    for (const Case& c : std::vector<Case>{
             {HelperState::notRegistered(), HelperAction::install, ""},
             {HelperState::requiresApproval(), HelperAction::approve,
              "Approve Halvoren under Login Items & Extensions, then return here."},
             {HelperState::enabled(), HelperAction::none, ""},
             {HelperState::connected(), HelperAction::none, ""},
             {HelperState::unavailable("no SMC"), HelperAction::none, "no SMC"},
         }) {
        const HelperStatus status = helperStatus(c.state);
        EXPECT_EQ(status.action, c.action) << c.note;
        EXPECT_EQ(status.note, QString::fromUtf8(c.note));
    }
}

} // namespace
} // namespace halvoren::first_run
