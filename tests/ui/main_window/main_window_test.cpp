#include "engine/settings_store.h"
#include "platform/login_item.h"
#include "ui/dashboard/dashboard_view.h"
#include "ui/main_window/main_window.h"
#include "ui/main_window/sidebar.h"
#include "ui/main_window/window_banner.h"
#include "ui/modes/modes_view.h"
#include "ui/panel/panel_buttons.h"
#include "ui/power/power_view.h"
#include "ui/sensors/sensors_view.h"
#include "ui/settings/settings_view.h"
#include "ui/theme/appearance.h"
#include "ui/ui_engine_fixture.h"
#include "ui/weather/fan_flow_meter.h"

#include <QKeyEvent>
#include <QShortcut>

namespace halvoren {
namespace {

class MainWindowTest : public UiEngineTest {
protected:
    // The first-run wizard would cover the window.
    MainWindowTest() { engine->setHasCompletedFirstRunSetup(true); }

    QString storedSection() const { return settings.value(SettingsStore::selectedSectionKey).toString(); }

    std::unique_ptr<LoginItem> loginItem = xdgAutostartLoginItem(dir.filePath(QStringLiteral("autostart")));
};

TEST_F(MainWindowTest, SizedAsAMacWindowWithAMeterPerFanThatFollowsTheFans) {
    MainWindow window(*engine, settings, *loginItem, *notifications);
    window.present();
    EXPECT_TRUE(window.isVisible());

    // The views carry no meta-object of their own, so the type is told by a dynamic cast.
    const auto meters = [&] {
        const auto widgets = window.findChildren<QWidget*>();
        return std::ranges::count_if(widgets,
                                     [](QWidget* w) { return dynamic_cast<FanFlowMeter*>(w) != nullptr; });
    };
    EXPECT_EQ(meters(), 0);
    sweep(50.0, {fan(0, 2000.0), fan(1, 2100.0)});
    EXPECT_EQ(meters(), 2);
    sweep(50.0, {fan(0, 2000.0)});
    EXPECT_EQ(meters(), 1);
    // Hidden, not gone: the program lives on in the menu bar.
    window.close();
    EXPECT_FALSE(window.isVisible());
    sweep(50.0, {fan(0, 2500.0), fan(1, 2100.0)});
    EXPECT_EQ(meters(), 2);
}

TEST_F(MainWindowTest, SectionsComeFromTheSettingsAndShortcutsAndArrowsMoveAndStoreThem) {
    settings.setValue(SettingsStore::selectedSectionKey, QStringLiteral("history"));
    MainWindow window(*engine, settings, *loginItem, *notifications);
    EXPECT_EQ(window.section(), Section::dashboard);
    for (const SectionInfo& info : sections) {
        QShortcut* shortcut = window.shortcuts()[static_cast<std::size_t>(info.section)];
        EXPECT_EQ(shortcut->key(),
                  QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + int(info.section))));
        emit shortcut->activated();
        EXPECT_EQ(window.section(), info.section);
        EXPECT_EQ(storedSection(), QString::fromUtf8(info.raw));
        EXPECT_TRUE(window.sidebar().item(info.section).isChecked());
    }
    // The shell writes the section before it opens the window.
    settings.setValue(SettingsStore::selectedSectionKey, QStringLiteral("power"));
    window.present();
    EXPECT_EQ(window.section(), Section::power);
    QKeyEvent up(QEvent::KeyPress, Qt::Key_Up, Qt::NoModifier);
    QCoreApplication::sendEvent(&window.sidebar().item(Section::power), &up);
    EXPECT_EQ(window.section(), Section::sensors);
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::sendEvent(&window.sidebar().item(window.section()), &up);
    }
    EXPECT_EQ(window.section(), Section::dashboard); // stops at the top
    window.dashboard().allSensorsButton().click();
    EXPECT_EQ(storedSection(), "sensors");

    // A shown section comes in through a passing effect, which leaves the page as it was; none
    // under reduced motion, and none when the section does not change.
    ASSERT_TRUE(pumpUntil([&] { return !window.transition().isPlaying(); }));
    EXPECT_EQ(window.sensors().graphicsEffect(), nullptr);
    window.selectSection(Section::power);
    EXPECT_NE(window.power().graphicsEffect(), nullptr);
    ASSERT_TRUE(pumpUntil([&] { return !window.transition().isPlaying(); }));
    EXPECT_EQ(window.power().graphicsEffect(), nullptr);
    window.selectSection(Section::power);
    EXPECT_FALSE(window.transition().isPlaying());
    theme::setPrefersReducedMotion(true);
    window.selectSection(Section::dashboard);
    theme::setPrefersReducedMotion(false);
    EXPECT_FALSE(window.transition().isPlaying());
    EXPECT_EQ(window.dashboard().graphicsEffect(), nullptr);
}

TEST_F(MainWindowTest, BannersFooterAndTurboFollowTheEngine) {
    MainWindow window(*engine, settings, *loginItem, *notifications);
    window.present();
    EXPECT_FALSE(window.helperBanner().isHidden());
    EXPECT_EQ(window.helperBanner().title(), "Fan control needs the helper installed");
    EXPECT_EQ(window.helperBanner().action().accessibleName(), "Install fan-control helper");
    EXPECT_EQ(window.sidebar().footer(), "Sensors unavailable");
    driver.state = HelperState::requiresApproval();
    window.helperBanner().action().click();
    ASSERT_TRUE(pumpUntil([&] { return window.helperBanner().title() == "Fan control needs approval"; }));
    EXPECT_EQ(window.helperBanner().action().accessibleName(), "Approve in System Settings");
    connect();
    EXPECT_TRUE(window.helperBanner().isHidden());
    EXPECT_EQ(window.sidebar().footer(), "Fan control active");

    sweep(50.0, {fan(0, 2000.0)});
    window.turboButton().click();
    EXPECT_TRUE(engine->isTurboEngaged().value());
    EXPECT_EQ(window.turboButton().accessibleDescription(), "On");
    window.turboButton().click();
    EXPECT_FALSE(engine->isTurboEngaged().value());

    EXPECT_TRUE(window.overheatBanner().isHidden());
    notifications->usable = false; // the alert shows in the window instead
    engine->alerts().update(true, "CPU Proximity", 99.0);
    ASSERT_TRUE(pumpUntil([&] { return !window.overheatBanner().isHidden(); }));
    EXPECT_FALSE(window.overheatBanner().title().isEmpty());
    window.overheatBanner().action().click();
    EXPECT_TRUE(window.overheatBanner().isHidden());
}

TEST_F(MainWindowTest, EveryControlHasANameAndTabReachesEverySectionsContent) {
    sweep(50.0, {fan(0, 2000.0), fan(1, 2100.0)});
    engine->addCustomMode(CustomMode::templates().front());
    MainWindow window(*engine, settings, *loginItem, *notifications);
    window.present();
    const std::array<QWidget*, sections.size()> pages{&window.dashboard(), &window.sensors(), &window.power(),
                                                      &window.modes(), &window.settingsView()};
    for (const SectionInfo& info : sections) {
        window.selectSection(info.section);
        for (QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
            if (button->isVisibleTo(&window)) {
                EXPECT_FALSE(button->accessibleName().isEmpty()) << info.raw << " " << typeid(*button).name();
            }
        }
        // From the section's own sidebar item, Tab (which passes over hidden widgets) goes on into
        // the section.
        QWidget* at = &window.sidebar().item(info.section);
        at->setFocus(Qt::TabFocusReason);
        bool reachedContent = false;
        for (int i = 0; i < 1000 && !reachedContent; ++i) {
            at = at->nextInFocusChain();
            reachedContent = pages[static_cast<std::size_t>(info.section)]->isAncestorOf(at) &&
                             at->isVisibleTo(&window) && (at->focusPolicy() & Qt::TabFocus) != 0;
        }
        EXPECT_TRUE(reachedContent) << info.raw;
    }
}

} // namespace
} // namespace halvoren
