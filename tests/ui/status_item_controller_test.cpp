#include "fakes/fake_accessibility_preferences.h"
#include "ui/fan_mark.h"
#include "ui/menu_bar/fan_mark_frames.h"
#include "ui/menu_bar/status_item_controller.h"
#include "ui/menu_bar/tray_tints.h"
#include "ui_test_support.h"

#include <QImage>
#include <QPainter>
#include <cmath>
#include <numbers>

namespace halvoren {
namespace {

constexpr double fifth = 2.0 * std::numbers::pi / 5.0;

class StatusItemControllerTest : public UiTest {
protected:
    StatusItemControllerTest() {
        controller.attach(label, [this](QRect) { ++panelsOpened; });
    }

    void show(int tier, bool animated = true, MenuBarReadout readout = MenuBarReadout::controlTemperature) {
        label.set(MenuBarLabelState{.readout = readout,
                                    .temperatureText = "64°C",
                                    .fanText = "3012",
                                    .spinTier = tier,
                                    .animated = animated});
    }
    // Lets the animation run until every fade has ended.
    void settle() { timers.advance(1.0); }
    void setReduceMotion(bool on) { accessibility->set({.reduceMotion = on}); }

    ManualClock clock;
    ManualTimerSource timers{clock};
    std::shared_ptr<FakeAccessibilityPreferences> accessibility =
        std::make_shared<FakeAccessibilityPreferences>();
    Observable<MenuBarLabelState> label;
    int iconsSet = 0;
    int panelsOpened = 0;
    StatusItemController controller{{.timers = timers,
                                     .accessibility = accessibility,
                                     .darkTray = false,
                                     .devicePixelRatio = 1.0,
                                     .iconSink = [this](const QIcon&) { ++iconsSet; }}};
};

TEST_F(StatusItemControllerTest, TheTooltipCarriesTheReadoutAndWhatIsSpoken) {
    const std::pair<MenuBarReadout, const char*> cases[] = {
        {MenuBarReadout::none, "Halvoren fan control"},
        {MenuBarReadout::both, "64°C · 3000\nControl temperature 64°C, fan speed 3012 RPM"},
    };
    for (const auto& [readout, tip] : cases) {
        show(0, true, readout);
        EXPECT_EQ(controller.trayIcon().toolTip(), QString::fromUtf8(tip)) << rawValue(readout);
    }
    emit controller.trayIcon().activated(QSystemTrayIcon::Context);
    EXPECT_EQ(panelsOpened, 0);
    emit controller.trayIcon().activated(QSystemTrayIcon::Trigger);
    EXPECT_EQ(panelsOpened, 1);
}

TEST_F(StatusItemControllerTest, TheIconTurnsAtItsTierAndStopsWhereItStands) {
    // The turn of one frame, however the angle wrapped.
    const auto frameStep = [this] {
        const double before = controller.angle();
        timers.advance(1.0 / StatusItemController::maxFramesPerSecond);
        return std::fmod(controller.angle() - before + fifth, fifth);
    };
    show(1);
    const double slow = frameStep();
    show(5);
    frameStep(); // the first frame at the new speed carries a little of the old one
    const double fast = frameStep();
    EXPECT_NEAR(fast / slow, 2.4 / 0.35, 0.01);
    // Under half a blade spacing a frame, or the eye sees it stand or turn backwards.
    EXPECT_LT(fast, fifth / 2.0);
    const int before = iconsSet;
    timers.advance(1.0);
    EXPECT_LE(iconsSet - before, 13);
    show(0);
    const double stopped = controller.angle();
    settle();
    EXPECT_EQ(controller.angle(), stopped);
    EXPECT_FALSE(controller.tint().has_value());
    EXPECT_EQ(timers.pendingCount(), 0u);
}

TEST_F(StatusItemControllerTest, ReduceMotionStopsAndUncoloursTheIconUntilItIsOff) {
    show(4);
    timers.advance(0.5);
    const std::optional<QColor> orange = TrayTints::tierColor(4, false);
    EXPECT_EQ(controller.tint(), orange);
    setReduceMotion(true);
    const double stopped = controller.angle();
    settle();
    EXPECT_EQ(controller.angle(), stopped);
    EXPECT_FALSE(controller.tint().has_value());
    EXPECT_FALSE(controller.isAnimating());
    setReduceMotion(false);
    EXPECT_EQ(controller.tint(), orange);
    timers.advance(0.5);
    EXPECT_NE(controller.angle(), stopped);
    EXPECT_TRUE(controller.isAnimating());
}

// Only the first frame is ever set: a new text is not a new picture, and nothing waits to turn.
TEST_F(StatusItemControllerTest, AnIconThatMayNotMoveNeverTurnsNorTakesColour) {
    show(0, true, MenuBarReadout::both);
    for (const int tier : {1, 3, 5}) {
        show(tier, false);
        settle();
        EXPECT_EQ(controller.angle(), 0.0) << tier;
        EXPECT_FALSE(controller.tint().has_value()) << tier;
    }
    EXPECT_EQ(iconsSet, 1);
    EXPECT_EQ(timers.pendingCount(), 0u);
}

TEST(FanMarkFramesTest, AnglesMapToFramesWithinOneFifthOfATurn) {
    const double step = fifth / FanMarkFrames::framesPerFifth;
    const std::pair<double, int> cases[] = {
        {0.0, 0},
        {step * 0.49, 0},
        {step * 0.51, 1},
        {fifth - step * 0.4, 0},
        {-step, FanMarkFrames::framesPerFifth - 1},
        {std::nan(""), 0},
        {INFINITY, 0},
        {5.0 * fifth + 3.0 * step, 3},
    };
    for (const auto& [angle, index] : cases) {
        EXPECT_EQ(FanMarkFrames::frameIndex(angle), index) << angle;
    }
}

using FanMarkTest = UiTest;

// The tray draws the mark into squares from 16 to 64 pixels: it must stay inside its square
// (a clipped blade looks broken) and fill most of it (a small mark looks lost).
TEST_F(FanMarkTest, TheMarkFillsItsSquareWithoutLeavingItAndAFifthOfATurnLooksTheSame) {
    for (const double side : {16.0, 22.0, 64.0}) {
        const QRectF bounds(3.0, 5.0, side, side);
        const QRectF drawn = fanMarkPath(bounds).boundingRect();
        EXPECT_TRUE(bounds.adjusted(-0.01, -0.01, 0.01, 0.01).contains(drawn)) << side;
        EXPECT_GT(drawn.width(), 0.85 * side) << side;
        EXPECT_GT(drawn.height(), 0.85 * side) << side;
    }

    // Turned by a fifth of a revolution the mark covers the same pixels, so frames chosen by angle
    // need only cover one fifth of a turn; a quarter turn does not.
    const auto render = [](double angle) {
        QImage image(64, 64, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paintFanMark(painter, QRectF(0, 0, 64, 64), angle, Qt::black);
        return image;
    };
    const auto difference = [](const QImage& a, const QImage& b) {
        int differing = 0;
        for (int y = 0; y < a.height(); ++y) {
            for (int x = 0; x < a.width(); ++x) {
                differing += std::abs(qAlpha(a.pixel(x, y)) - qAlpha(b.pixel(x, y))) > 64 ? 1 : 0;
            }
        }
        return differing;
    };
    const QImage rest = render(0.0);
    EXPECT_LT(difference(rest, render(fifth)), 20);
    EXPECT_GT(difference(rest, render(M_PI / 4.0)), 200);
}

} // namespace
} // namespace halvoren
