#include "ui/main_window/main_window.h"
#include "ui/ui_engine_fixture.h"
#include "ui/weather/fan_flow_meter.h"

namespace halvoren {
namespace {

using MainWindowTest = UiEngineTest;

TEST_F(MainWindowTest, SizedAsAMacWindowWithAMeterPerFanThatFollowsTheFans) {
    MainWindow window(*engine, settings);
    EXPECT_EQ(window.windowTitle(), "Halvoren");
    EXPECT_EQ(window.minimumSize(), QSize(820, 620));
    window.present();
    EXPECT_TRUE(window.isVisible());
    EXPECT_GE(window.width(), 820);

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

} // namespace
} // namespace halvoren
