#include "ui/components/module_card.h"
#include "ui/panel/speed_slider.h"
#include "ui/settings/fake_login_item.h"
#include "ui/settings/settings_controls.h"
#include "ui/settings/settings_values.h"
#include "ui/settings/settings_view.h"
#include "ui/ui_engine_fixture.h"

#include <QComboBox>
#include <QLabel>
#include <QScrollArea>
#include <QTimeEdit>
#include <qcoro/qcorotask.h>

namespace halvoren::settings {
namespace {

TEST(SettingsValuesTest, SliderLabelsAndMinutesOfDay) {
    for (const auto& [actual, expected] : std::vector<std::pair<QString, const char*>>{
             {spoolLabel(9000.0), "Instant"},
             {spoolLabel(8999.0), "8999 RPM/s"},
             {spoolLabel(8999.6), "9000 RPM/s"}, // rounds, but only the stored 9000 is instant
             {smoothingLabel(0.049), "0.05"},
             {capLabel(0.55), "55%"},
             {celsiusLabel(89.6), "90°C"},
             {glassAccessibleValue(0.404), "40 percent"},
         }) {
        EXPECT_EQ(actual, QString::fromUtf8(expected));
    }
    for (const auto& [minutes, time] :
         std::vector<std::pair<int, QTime>>{{0, {0, 0}}, {1439, {23, 59}}, {1440, {0, 0}}, {-5, {23, 55}}}) {
        EXPECT_EQ(timeFromMinutesOfDay(minutes), time) << minutes;
    }
    for (int minutes = 0; minutes < 1440; ++minutes) {
        ASSERT_EQ(minutesOfDay(timeFromMinutesOfDay(minutes)), minutes);
    }
    EXPECT_EQ(minutesOfDay(QTime(7, 30, 59)), 450); // seconds are dropped
    EXPECT_EQ(minutesOfDay(QTime()), 0);
}

TEST(SettingsValuesTest, CooldownOptionsAbsentAlertRulesAndTheHelperBadge) {
    QStringList labels;
    for (std::size_t i = 0; i < cooldownMinutes.size(); ++i) {
        labels << cooldownOption(i).label;
        EXPECT_EQ(cooldownIndex(cooldownOption(i).seconds()), i);
    }
    EXPECT_EQ(labels.join(u','), "1 min,2 min,5 min,10 min,15 min,30 min");
    for (const double seconds : {0.0, 30.0, 299.0, 450.0, 1801.0}) {
        EXPECT_FALSE(cooldownIndex(seconds).has_value()) << seconds;
    }
    // An absent rule reads as disabled at 90.
    const AlertRules rules{{SensorCategory::gpu, AlertRule{true, 70.0, true}}};
    EXPECT_EQ(alertRuleFor(rules, SensorCategory::gpu), (AlertRule{true, 70.0, true}));
    EXPECT_EQ(alertRuleFor(rules, SensorCategory::cpu), (AlertRule{false, 90.0, false}));
    EXPECT_EQ(alertRuleFor({}, SensorCategory::battery), (AlertRule{false, 90.0, false}));
    // The badge of a helper that cannot run names why.
    EXPECT_EQ(helperStatusBadge(HelperState::unavailable("cannot open AppleSMC")).text,
              "cannot open AppleSMC");
}

class SettingsViewTest : public UiEngineTest {
protected:
    FakeLoginItem login;
    std::unique_ptr<SettingsView> view = std::make_unique<SettingsView>(*engine, login);
};

TEST_F(SettingsViewTest, TogglesWriteTheEngineSurviveANewEngineAndFollowOutsideChanges) {
    using Getter = const Observable<bool>& (HalvorenEngine::*)() const;
    struct Case {
        const char* label;
        Getter field;
        bool stored; // kept across launches
    };
    for (const Case& c : std::vector<Case>{
             {"Show icon in Dock", &HalvorenEngine::showDockIcon, true},
             {"Use Fahrenheit temperature scale", &HalvorenEngine::useFahrenheit, true},
             {"Precise display (e.g. 45.4°)", &HalvorenEngine::preciseTemperatures, true},
             {"Pre-spool on rising heat", &HalvorenEngine::preSpoolEnabled, true},
             {"Switch to the quiet curve on battery", &HalvorenEngine::autoSwitchOnBattery, false},
             {"Automatically switch to Quiet", &HalvorenEngine::quietHoursEnabled, true},
             {"Quiet during meetings", &HalvorenEngine::meetingQuietEnabled, true},
             {"Warn about fan problems", &HalvorenEngine::fanHealthWarningsEnabled, true},
             {"Animate fan icon", &HalvorenEngine::menuBarIconAnimated, true},
         }) {
        ToggleSwitch& toggle = view->toggle(QString::fromUtf8(c.label));
        const bool before = ((*engine).*c.field)().value();
        EXPECT_EQ(toggle.isChecked(), before) << c.label;
        toggle.click();
        EXPECT_EQ(((*engine).*c.field)().value(), !before) << c.label;
        view.reset();
        makeEngine();
        view = std::make_unique<SettingsView>(*engine, login);
        EXPECT_EQ(((*engine).*c.field)().value(), c.stored ? !before : before) << c.label;
        EXPECT_EQ(view->toggle(QString::fromUtf8(c.label)).isChecked(), ((*engine).*c.field)().value());
    }
    engine->setUseFahrenheit(false);
    EXPECT_FALSE(view->toggle(QStringLiteral("Use Fahrenheit temperature scale")).isChecked());
}

TEST_F(SettingsViewTest, AlertRowShowsThresholdAndBoostOnlyWhileEnabled) {
    ToggleSwitch& gpu = view->toggle(QStringLiteral("GPU"));
    SpeedSlider& threshold = view->slider(QStringLiteral("GPU threshold"));
    EXPECT_FALSE(gpu.isChecked());
    EXPECT_FALSE(threshold.isVisibleTo(view.get()));
    EXPECT_FALSE(view->toggle(QStringLiteral("GPU Auto-boost")).isVisibleTo(view.get()));

    gpu.click();
    EXPECT_TRUE(threshold.isVisibleTo(view.get()));
    EXPECT_EQ(view->valueLabel(QStringLiteral("GPU threshold")).text(), "95°C");
    threshold.setFocus();
    press(threshold, Qt::Key_End);
    view->toggle(QStringLiteral("GPU Auto-boost")).click();
    EXPECT_EQ(*findEntry(engine->alertRules().value(), SensorCategory::gpu), (AlertRule{true, 110.0, true}));
    EXPECT_EQ(view->valueLabel(QStringLiteral("GPU threshold")).text(), "110°C");

    engine->setAlertRule(SensorCategory::gpu, false, std::nullopt, std::nullopt);
    EXPECT_FALSE(threshold.isVisibleTo(view.get()));
}

TEST_F(SettingsViewTest, CapSlidersStopAtTenPercentAndMaxHasNone) {
    for (const char* name : {"Quiet on AC", "Quiet on battery", "Balanced on AC", "Balanced on battery"}) {
        SpeedSlider& slider = view->slider(QString::fromUtf8(name));
        press(slider, Qt::Key_Home);
        EXPECT_EQ(view->valueLabel(QString::fromUtf8(name)).text(), "10%") << name;
    }
    EXPECT_EQ(*findEntry(engine->presetPowerCaps().value(), FanPreset::quiet), (PresetPowerCaps{0.1, 0.1}));
    EXPECT_THROW(view->slider(QStringLiteral("Max on AC")), std::out_of_range);
    engine->setPresetCap(FanPreset::auto_, 0.0, std::nullopt); // the engine takes what the view won't
    EXPECT_EQ(view->valueLabel(QStringLiteral("Balanced on AC")).text(), "0%");
}

TEST_F(SettingsViewTest, PickersSlidersAndTimesBindBothWays) {
    QComboBox& cooldown = view->picker(QStringLiteral("Cooldown duration"));
    EXPECT_EQ(cooldown.currentText(), "5 min");
    engine->setCooldownDuration(450.0);
    EXPECT_EQ(cooldown.currentIndex(), -1);
    cooldown.setCurrentIndex(3);
    EXPECT_EQ(engine->cooldownDuration().value(), 600.0);

    view->picker(QStringLiteral("Show in menu bar")).setCurrentIndex(4);
    EXPECT_EQ(engine->menuBarReadout().value(), MenuBarReadout::both);
    engine->setMenuBarTempSource(MenuBarTempSource::gpuAverage);
    EXPECT_EQ(view->picker(QStringLiteral("Temperature source")).currentText(), "GPU Average");

    SpeedSlider& spool = view->slider(QStringLiteral("Spool rate"));
    press(spool, Qt::Key_End);
    EXPECT_EQ(engine->spoolRate().value(), 9000.0);
    EXPECT_EQ(view->valueLabel(QStringLiteral("Spool rate")).text(), "Instant");
    press(spool, Qt::Key_Left);
    EXPECT_LT(engine->spoolRate().value(), 9000.0);
    engine->setAcousticAlpha(0.5);
    EXPECT_EQ(view->valueLabel(QStringLiteral("Smoothing")).text(), "0.50");

    view->quietFrom().setTime(QTime(21, 15));
    EXPECT_EQ(engine->quietHoursStart().value(), 21 * 60 + 15);
    engine->setQuietHoursEnd(395);
    EXPECT_EQ(view->quietUntil().time(), QTime(6, 35));

    view->restoreDefaults().click();
    EXPECT_EQ(cooldown.currentText(), "5 min");
    EXPECT_EQ(view->quietFrom().time(), QTime(22, 0));
    EXPECT_EQ(engine->menuBarReadout().value(), MenuBarReadout::both); // left as it was
}

TEST_F(SettingsViewTest, StartAtLoginShowsTheFailureAndFallsBack) {
    ToggleSwitch& start = view->toggle(QStringLiteral("Start at login"));
    start.click();
    EXPECT_TRUE(login.enabled);
    EXPECT_TRUE(view->loginItemError().isHidden());

    login.failure = "Operation not permitted";
    start.click();
    EXPECT_TRUE(start.isChecked());
    EXPECT_FALSE(view->loginItemError().isHidden());
    EXPECT_EQ(view->loginItemError().text(), "Operation not permitted");

    login.failure.reset();
    start.click();
    EXPECT_FALSE(start.isChecked());
    EXPECT_TRUE(view->loginItemError().isHidden());
}

TEST_F(SettingsViewTest, HelperBadgeLastErrorAndUpdatesFollowTheirSources) {
    EXPECT_EQ(view->helperBadge().text(), "Not Installed");
    EXPECT_EQ(view->updatesCard(), nullptr);
    EXPECT_TRUE(view->lastErrorCard()->isHidden());

    connect();
    EXPECT_EQ(view->helperBadge().symbol(), "checkmark.seal.fill");
    sweep(50.0, {fan(0, 2000.0)});
    driver.writeOutcomes = {DriverFailure::helperRefused("fan 0 is busy")};
    QCoro::waitFor(engine->pushTargets({{0, 3000.0}}));
    EXPECT_FALSE(view->lastErrorCard()->isHidden());
    QCoro::waitFor(engine->pushTargets({{0, 3000.0}}));
    EXPECT_TRUE(view->lastErrorCard()->isHidden());

    bool automatic = true;
    int checks = 0;
    SettingsView withUpdater(
        *engine, login,
        Updater{[&] { return automatic; }, [&](bool on) { automatic = on; }, [&] { ++checks; }});
    ASSERT_NE(withUpdater.updatesCard(), nullptr);
    withUpdater.toggle(QStringLiteral("Automatically check for updates")).click();
    EXPECT_FALSE(automatic);
    for (QAbstractButton* button : withUpdater.findChildren<QAbstractButton*>()) {
        if (button->accessibleName() == "Check for Updates…") {
            button->click();
        }
    }
    EXPECT_EQ(checks, 1);
}

} // namespace
} // namespace halvoren::settings
