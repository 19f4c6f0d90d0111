#include "engine/settings_store.h"
#include "ui/first_run/first_run_values.h"
#include "ui/first_run/first_run_wizard_view.h"
#include "ui/main_window/main_window.h"
#include "ui/main_window/sidebar.h"
#include "ui/panel/panel_buttons.h"
#include "ui/settings/fake_login_item.h"
#include "ui/settings/settings_controls.h"
#include "ui/theme/appearance.h"
#include "ui/ui_engine_fixture.h"

#include <QLabel>
#include <QPointer>

namespace halvoren::first_run {
namespace {

// The wizard's test walks every step; here, the footers between the ends and what each helper
// state offers to do.
TEST(FirstRunValuesTest, FootersBetweenTheEndsAndTheHelperActionByState) {
    for (const Step step : {Step::helper, Step::notifications, Step::loginItem}) {
        const Footer f = footer(step);
        EXPECT_TRUE(f.back && f.skip) << static_cast<int>(step);
        EXPECT_EQ(f.main, "Continue");
    }
    EXPECT_EQ(footer(Step::welcome).main, "Get Started");
    EXPECT_EQ(previousStep(Step::welcome), std::nullopt);
    EXPECT_GT(transitionMilliseconds(false), transitionMilliseconds(true));

    const HelperStatus approval = helperStatus(HelperState::requiresApproval());
    EXPECT_EQ(approval.action, HelperAction::approve);
    EXPECT_FALSE(approval.note.isEmpty());
    for (const HelperState& state : {HelperState::enabled(), HelperState::connected()}) {
        EXPECT_EQ(helperStatus(state).action, HelperAction::none);
        EXPECT_TRUE(helperStatus(state).note.isEmpty());
    }
}

class FirstRunWizardTest : public UiEngineTest {
protected:
    FakeLoginItem login;
    FirstRunWizardView wizard{*engine, login, *notifications};
};

TEST_F(FirstRunWizardTest, EnterWalksForwardBackStepsBackAndEscapeDoesNothing) {
    EXPECT_TRUE(wizard.backButton().isHidden());
    press(wizard, Qt::Key_Escape);
    EXPECT_EQ(wizard.step(), Step::welcome);
    EXPECT_FALSE(engine->hasCompletedFirstRunSetup().value());
    press(wizard, Qt::Key_Return);
    press(wizard, Qt::Key_Enter);
    EXPECT_EQ(wizard.step(), Step::notifications);
    wizard.backButton().click();
    EXPECT_EQ(wizard.step(), Step::helper);
    wizard.backButton().click();
    EXPECT_EQ(wizard.step(), Step::welcome);

    for (int i = 0; i < 4; ++i) {
        wizard.mainButton().click();
    }
    EXPECT_EQ(wizard.step(), Step::done);
    EXPECT_EQ(wizard.mainButton().title(), "Finish");
    EXPECT_TRUE(wizard.skipButton().isHidden());
    EXPECT_TRUE(wizard.backButton().isHidden());
    EXPECT_FALSE(engine->hasCompletedFirstRunSetup().value());
    wizard.mainButton().click();
    EXPECT_TRUE(engine->hasCompletedFirstRunSetup().value());
}

TEST_F(FirstRunWizardTest, StepChangesAnimateOnTheirOwnClock) {
    theme::setPrefersReducedMotion(true);
    wizard.goTo(Step::helper);
    theme::setPrefersReducedMotion(false);
    EXPECT_TRUE(wizard.isAnimating());
    EXPECT_TRUE(pumpUntil([&] { return !wizard.isAnimating(); }, 1000));
}

TEST_F(FirstRunWizardTest, HelperStepRefreshesWhileShownAndDrivesInstall) {
    driver.state = HelperState::notRegistered();
    const int before = driver.stateCalls;
    wizard.goTo(Step::helper);
    ASSERT_TRUE(pumpUntil([&] { return driver.stateCalls > before; }));
    EXPECT_EQ(wizard.helperStatus().text(), "Not installed yet");
    EXPECT_EQ(wizard.helperAction().title(), "Install Helper");
    EXPECT_TRUE(wizard.helperNote().isHidden());

    driver.state = HelperState::requiresApproval();
    wizard.helperAction().click();
    ASSERT_TRUE(
        pumpUntil([&] { return wizard.helperStatus().text() == "Needs approval in System Settings"; }));
    EXPECT_EQ(wizard.helperAction().title(), "Open System Settings");
    EXPECT_FALSE(wizard.helperNote().isHidden());

    // Approval given elsewhere shows on the next refresh.
    wizard.show();
    driver.state = HelperState::unavailable("cannot open AppleSMC");
    ASSERT_TRUE(pumpUntil([&] { return wizard.helperStatus().text() == "Unavailable"; },
                          FirstRunWizardView::helperRefreshMilliseconds * 3));
    EXPECT_TRUE(wizard.helperAction().isHidden());
    EXPECT_EQ(wizard.helperNote().text(), "cannot open AppleSMC");
}

TEST_F(FirstRunWizardTest, NotificationAnswersAndLoginFailuresLetTheWizardGoOn) {
    wizard.goTo(Step::notifications);
    wizard.notificationsButton().click();
    EXPECT_TRUE(wizard.notificationsRequested());
    EXPECT_TRUE(wizard.notificationsButton().isHidden());
    notifications->answer(true, std::string("service went away"));
    EXPECT_FALSE(wizard.notificationsGranted());
    EXPECT_EQ(wizard.notificationsStatus().text(), "Notifications not enabled");
    EXPECT_FALSE(wizard.notificationsNote().isHidden());
    wizard.requestNotifications();
    notifications->answer(true);
    EXPECT_EQ(wizard.notificationsStatus().symbol(), "checkmark.circle.fill");
    EXPECT_TRUE(wizard.notificationsNote().isHidden());

    wizard.mainButton().click();
    login.failure = "no autostart folder";
    wizard.loginToggle().click();
    EXPECT_FALSE(wizard.loginToggle().isChecked());
    EXPECT_EQ(wizard.loginError().text(), "no autostart folder");
    wizard.mainButton().click();
    EXPECT_EQ(wizard.step(), Step::done);
}

TEST_F(FirstRunWizardTest, SkipOnTheHelperStepUncoversTheWindowForGood) {
    driver.state = HelperState::notRegistered();
    FakeLoginItem windowLogin;
    MainWindow window(*engine, settings, windowLogin, *notifications);
    QPointer<FirstRunWizardView> cover = window.wizard();
    ASSERT_TRUE(cover);
    EXPECT_FALSE(window.sidebar().isEnabled());
    cover->goTo(Step::helper);
    cover->skipButton().click();
    EXPECT_EQ(window.wizard(), nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(cover.isNull());
    EXPECT_TRUE(window.sidebar().isEnabled());
    EXPECT_EQ(engine->helperState().value(), HelperState::notRegistered());
    EXPECT_TRUE(settings.value(SettingsStore::hasCompletedFirstRunSetupKey).toBool());
    MainWindow again(*engine, settings, windowLogin, *notifications);
    EXPECT_EQ(again.wizard(), nullptr);
}

} // namespace
} // namespace halvoren::first_run
