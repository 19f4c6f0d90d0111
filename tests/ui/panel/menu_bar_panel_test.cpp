#include "../ui_engine_fixture.h"
#include "core/preset_profiles.h"
#include "ui/panel/menu_bar_panel.h"
#include "ui/panel/panel_buttons.h"
#include "ui/panel/panel_popup.h"
#include "ui/panel/panel_values.h"
#include "ui/panel/speed_slider.h"
#include "ui/weather/fan_flow_meter.h"

#include <QAbstractButton>
#include <QLayout>
#include <QPointer>

namespace halvoren::panel {
namespace {

FanProfile constant(std::int64_t rpm) {
    FanProfile profile;
    profile.mode = ControlMode::constantRPM;
    profile.constantTargetRPM = rpm;
    return profile;
}

// The slider's ends over two fans' bounds are the panel's test; here, no fans and the edges.
TEST(PanelValues, BoundsFallBackWithoutFansAndTheSliderMapsBothWaysWithinThem) {
    const FanBounds none = fanBounds({});
    EXPECT_EQ(none.min, 1200.0);
    EXPECT_EQ(none.max, 6000.0);

    const FanBounds bounds{1100.0, 5800.0};
    EXPECT_EQ(sliderRPM(-0.5, bounds), 1100.0);
    EXPECT_EQ(sliderRPM(7.0, bounds), 5800.0);
    EXPECT_EQ(sliderRPM(0.5001, bounds), 3450.0);
    EXPECT_EQ(sliderRPM(std::nan(""), bounds), 1100.0);

    const FanMap fans{{0, fan(0, 2275, 1100, 5800)}};
    EXPECT_DOUBLE_EQ(sliderPosition(constant(3450), fans, bounds), 0.5);
    EXPECT_EQ(sliderPosition(constant(9000), fans, bounds), 1.0);
    EXPECT_EQ(sliderPosition(constant(FanProfile::unlimitedRPM), fans, bounds), 1.0);
    EXPECT_EQ(sliderPosition(constant(500), fans, bounds), 0.0);
    // Not a fixed speed: the fastest fan places it.
    EXPECT_DOUBLE_EQ(sliderPosition(FanProfile::halvorenStandard(), fans, bounds), 0.25);
    EXPECT_EQ(sliderPosition(std::nullopt, {}, FanBounds{}), 0.0);
    // Bounds with no width never divide by zero.
    EXPECT_EQ(sliderPosition(constant(3000), fans, FanBounds{3000.0, 3000.0}), 0.0);
}

TEST(PanelValues, ManualControlAndTheLitTab) {
    EXPECT_FALSE(isManualControl({}, std::nullopt));
    EXPECT_FALSE(isManualControl({}, FanProfile::halvorenStandard()));
    EXPECT_FALSE(isManualControl({}, constant(0)));
    EXPECT_TRUE(isManualControl({}, constant(2000)));
    EXPECT_TRUE(isManualControl({{0, 2000.0}}, std::nullopt));

    EXPECT_EQ(activeTier(FanPreset::quiet, FanProfile::maxThermalBlast()), FanPreset::quiet);
    // A capped copy keeps the base profile's identity and still lights its tab.
    FanProfile capped = baseProfile(FanPreset::auto_);
    capped.curvePoints.pop_back();
    EXPECT_EQ(activeTier(std::nullopt, capped), FanPreset::auto_);
    EXPECT_EQ(activeTier(std::nullopt, constant(2000)), std::nullopt);
    EXPECT_EQ(activeTier(std::nullopt, std::nullopt), std::nullopt);
}

TEST(PanelValues, SpokenAndShownTextsAndACountdownThatRoundsUpAndStopsAtZero) {
    EXPECT_EQ(honestyLine(HelperState::unavailable("timeout")),
              QStringLiteral("Monitoring only. The fan-control helper is unavailable (timeout)."));
    EXPECT_EQ(heroAccessibilityValue(std::nullopt, false, false), QStringLiteral("no reading"));
    EXPECT_EQ(heroAccessibilityValue(61.4, false, false), QStringLiteral("61 degrees Celsius"));
    EXPECT_EQ(heroAccessibilityValue(50.0, true, true), QStringLiteral("122.0 degrees Fahrenheit"));

    EXPECT_EQ(fanMetersAccessibilityValue({{0, fan(0, 1999.6)}, {1, fan(1, 2400)}}),
              QStringLiteral("Left Fan 2000 RPM, Right Fan 2400 RPM"));
    EXPECT_EQ(fanMetersAccessibilityValue({{3, fan(3, 1800)}}), QStringLiteral("Fan 1800 RPM"));

    EXPECT_EQ(customModeDetail(ModeSpeed::fixed(0.705)), QStringLiteral("Fixed 71%"));
    EXPECT_EQ(customModeAccessibilityValue(ModeSpeed::floor(0.3)), QStringLiteral("30 percent, Minimum"));

    EXPECT_EQ(turboDetail({}), QStringLiteral("Max cooling"));
    EXPECT_EQ(turboDetail({{0, fan(0, 0.0)}}), QStringLiteral("Max cooling"));
    EXPECT_EQ(turboDetail({{0, fan(0, 5990.7)}, {1, fan(1, 6100)}}), QStringLiteral("6100 RPM"));

    const Clock::WallTime now{std::chrono::seconds{1000}};
    using std::chrono::milliseconds;
    EXPECT_EQ(cooldownCountdown(now, now + milliseconds(125'001)), QStringLiteral("2:06"));
    EXPECT_EQ(cooldownCountdown(now, now + milliseconds(9'000)), QStringLiteral("0:09"));
    EXPECT_EQ(cooldownCountdown(now, now - milliseconds(3'000)), QStringLiteral("0:00"));
}

class MenuBarPanelTest : public UiEngineTest {
protected:
    MenuBarPanel& build() {
        panel = std::make_unique<MenuBarPanel>(
            *engine, clock,
            PanelActions{.openMainWindow =
                             [this](const std::optional<QString>& section) { opened.push_back(section); },
                         .closePanel = [this] { ++closes; },
                         .quit = [this] { ++quits; }});
        return *panel;
    }

    std::unique_ptr<MenuBarPanel> panel;
    std::vector<std::optional<QString>> opened;
    int closes = 0;
    int quits = 0;
};

TEST_F(MenuBarPanelTest, WithoutHelperOrFansItSaysSo) {
    MenuBarPanel& p = build();
    EXPECT_EQ(p.honestyText(),
              QStringLiteral("Monitoring only. Open Halvoren to install the fan-control helper."));
    EXPECT_EQ(p.heroTemperatureText(), QStringLiteral("--"));
    EXPECT_TRUE(p.fanMeters().empty());

    connect();
    sweep(61.0, {fan(0, 2000), fan(1, 2400, 1300, 6400)});
    EXPECT_EQ(p.honestyText(), std::nullopt);
    EXPECT_EQ(p.heroTemperatureText(), QStringLiteral("61.0"));
    ASSERT_EQ(p.fanMeters().size(), 2U);
    EXPECT_EQ(p.heroFans().accessibleDescription(), QStringLiteral("Left Fan 2000 RPM, Right Fan 2400 RPM"));

    engine->setUseFahrenheit(true);
    EXPECT_EQ(p.heroTemperature().accessibleDescription(), QStringLiteral("141.8 degrees Fahrenheit"));

    panel.reset(); // closed: later changes must not reach it
    sweep(70.0, {fan(0, 3000)});
    engine->selectPreset(FanPreset::max);
    EXPECT_EQ(engine->fans()->size(), 1U);
}

TEST_F(MenuBarPanelTest, ControlsDriveTheEngine) {
    connect();
    sweep(60.0, {fan(0, 2000), fan(1, 2600)});
    const CustomMode& mode = CustomMode::gamingTemplate();
    engine->addCustomMode(mode);
    MenuBarPanel& p = build();

    p.presetTabs().tabs()[0]->click();
    EXPECT_EQ(engine->activePreset().value(), FanPreset::quiet);
    EXPECT_EQ(p.presetTabs().current(), 0);

    ASSERT_EQ(p.modeRows().size(), 1U);
    EXPECT_EQ(p.modeRows()[0]->accessibleDescription(), QStringLiteral("70 percent, Fixed"));
    p.modeRows()[0]->click();
    EXPECT_EQ(engine->activeCustomModeID().value(), mode.id);

    p.turboButton().click();
    EXPECT_TRUE(engine->isTurboEngaged().value());
    EXPECT_EQ(p.speedText(), QStringLiteral("6000 RPM")); // the unlimited target at the top of the range
    EXPECT_EQ(p.sliderValue(), 1.0);
    p.turboButton().click();
    EXPECT_FALSE(engine->isTurboEngaged().value());

    p.cooldownButton().click();
    ASSERT_TRUE(engine->isCoolingDown());
    EXPECT_FALSE(p.isCountdownRunning()); // not on screen
    p.show();
    EXPECT_TRUE(p.isCountdownRunning());
    p.cooldownButton().click();
    EXPECT_FALSE(engine->isCoolingDown());
    EXPECT_FALSE(p.isCountdownRunning());
}

TEST_F(MenuBarPanelTest, TheSliderTakesOverOnRelease) {
    connect();
    sweep(60.0, {fan(0, 2300, 1300, 5500), fan(1, 2300, 1100, 5800)});
    MenuBarPanel& p = build();
    SpeedSlider& slider = p.speedSlider();
    EXPECT_EQ(slider.sliderPosition(), 255); // the fastest fan in 1100 ... 5800

    slider.setSliderDown(true);
    slider.setSliderPosition(500);
    EXPECT_EQ(p.speedText(), QStringLiteral("3450 RPM"));
    EXPECT_EQ(engine->activeProfile().value(), FanProfile::appleAuto()); // nothing yet while dragging
    slider.setSliderDown(false);
    ASSERT_TRUE(engine->activeProfile().value().has_value());
    EXPECT_EQ(engine->activeProfile().value()->mode, ControlMode::constantRPM);
    EXPECT_EQ(engine->activeProfile().value()->constantTargetRPM, 3450);

    // Keys move it a step and commit as a release does; the far left is the lowest minimum.
    slider.setFocus();
    press(slider, Qt::Key_Home);
    EXPECT_EQ(engine->activeProfile().value()->constantTargetRPM, 1100);
    press(slider, Qt::Key_End);
    EXPECT_EQ(engine->activeProfile().value()->constantTargetRPM, 5800);
}

TEST_F(MenuBarPanelTest, EveryWayOutOpensTheWindowThenCloses) {
    MenuBarPanel& p = build();
    std::vector<QAbstractButton*> footer;
    std::ranges::copy_if(p.findChildren<QAbstractButton*>(), std::back_inserter(footer), [&](auto* button) {
        return button->parentWidget() == &p && button != &p.turboButton() && button != &p.cooldownButton();
    });
    ASSERT_EQ(footer.size(), 3U);
    struct Case {
        QAbstractButton* button;
        std::optional<QString> section;
    };
    for (const Case& c : {Case{footer[0], QStringLiteral("settings")}, Case{footer[1], std::nullopt},
                          Case{&p.heroTemperature(), QStringLiteral("sensors")},
                          Case{&p.heroFans(), QStringLiteral("dashboard")}}) {
        opened.clear();
        const int before = closes;
        c.button->click();
        ASSERT_EQ(opened.size(), 1U) << c.button->accessibleName().toStdString();
        EXPECT_EQ(opened[0], c.section);
        EXPECT_EQ(closes, before + 1);
    }
    EXPECT_EQ(footer[2]->accessibleName(), QStringLiteral("Quit"));
    press(*footer[2], Qt::Key_Return);
    EXPECT_EQ(quits, 1);
    press(*footer[2], Qt::Key_Space);
    EXPECT_EQ(quits, 2);
}

TEST_F(MenuBarPanelTest, KeyboardReachesEveryControlInOrderAndEachHasAName) {
    sweep(60.0, {fan(0, 2000)});
    MenuBarPanel& p = build();
    // Rows made after the footer still come before Turbo.
    engine->addCustomMode(CustomMode::recordingTemplate());

    std::vector<QWidget*> order;
    QWidget* widget = &p.heroTemperature();
    do {
        if (widget->focusPolicy() & Qt::TabFocus) {
            order.push_back(widget);
        }
        widget = widget->nextInFocusChain();
    } while (widget != &p.heroTemperature() && order.size() < 40);
    const std::vector<QWidget*> expected{
        &p.heroTemperature(),     &p.heroFans(),   p.presetTabs().tabs()[0], p.presetTabs().tabs()[1],
        p.presetTabs().tabs()[2], p.modeRows()[0], &p.turboButton(),         &p.cooldownButton(),
        &p.speedSlider()};
    ASSERT_GE(order.size(), expected.size() + 3);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), order.begin()));
    for (QWidget* each : order) {
        EXPECT_FALSE(each->accessibleName().isEmpty()) << each->metaObject()->className();
    }
}

TEST_F(MenuBarPanelTest, ThePopupClosesOnEscapeAndWhenThePanelLeads) {
    QPointer<PanelPopup> popup = PanelPopup::open(
        *engine, clock,
        PanelActions{.openMainWindow = [this](const auto& section) { opened.push_back(section); }}, QRect());
    ASSERT_TRUE(popup->isVisible());
    auto* content = static_cast<MenuBarPanel*>(popup->focusProxy());
    ASSERT_NE(content, nullptr);
    content->heroFans().click();
    EXPECT_EQ(opened, std::vector<std::optional<QString>>{QStringLiteral("dashboard")});
    EXPECT_FALSE(popup->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(popup.isNull());

    popup = new PanelPopup(new QWidget);
    popup->popUp(QRect(10, 0, 20, 20));
    press(*popup, Qt::Key_Escape);
    EXPECT_FALSE(popup->isVisible());
    // The preview window holds the same panel, which dismisses the window as it would the popup.
    QPointer<QWidget> preview = makePanelPreviewWindow(*engine, clock, {});
    preview->show();
    static_cast<MenuBarPanel*>(preview->layout()->itemAt(0)->widget())->heroTemperature().click();
    EXPECT_FALSE(preview->isVisible());
}

TEST(PanelPosition, UnderTheTrayKeptOnScreenElseTopRight) {
    const QRect screen(0, 0, 1440, 900);
    const QSize size(360, 600);
    EXPECT_EQ(panelPosition(QRect(700, 0, 24, 24), size, screen), QPoint(531, 30));
    EXPECT_EQ(panelPosition(QRect(1420, 0, 20, 24), size, screen),
              QPoint(1072, 30)); // held at the right edge
    EXPECT_EQ(panelPosition(QRect(), size, screen), QPoint(1072, 8));
    EXPECT_EQ(panelPosition(QRect(700, 876, 24, 24), size, screen), QPoint(531, 270)); // a bottom tray
}

} // namespace
} // namespace halvoren::panel
