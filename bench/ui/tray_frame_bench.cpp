// One frame of the turning menu-bar icon: the angle moved on, the frame chosen, and the icon
// handed over (to a sink that keeps it, so what the tray does with it is not counted).

#include "core/menu_bar_label_state.h"
#include "engine/observable.h"
#include "platform/accessibility_preferences.h"
#include "platform/timer_source.h"
#include "ui/menu_bar/status_item_controller.h"

#include <QApplication>
#include <benchmark/benchmark.h>
#include <memory>

namespace halvoren {
namespace {

class StillPreferences final : public AccessibilityPreferences {};

// Arg 0: spinning at the top tier in a steady colour, from the frames kept for it; arg 1:
// each frame in the middle of a colour fade, coloured afresh.
void BM_TrayFrame(benchmark::State& state) {
    ManualClock clock;
    ManualTimerSource timers(clock);
    Observable<MenuBarLabelState> label;
    std::int64_t iconsSet = 0;
    QIcon kept;
    StatusItemController controller({.timers = timers,
                                     .accessibility = std::make_shared<StillPreferences>(),
                                     .darkTray = true,
                                     .devicePixelRatio = 2.0,
                                     .iconSink = [&](const QIcon& icon) {
                                         kept = icon;
                                         ++iconsSet;
                                     }});
    controller.attach(label, {});
    label.set(MenuBarLabelState{.spinTier = 5});
    timers.advance(1.0); // past the first fade
    const bool fading = state.range(0) == 1;
    int tier = 5;
    const std::int64_t before = iconsSet;
    for (auto _ : state) {
        if (fading) {
            tier = tier == 5 ? 4 : 5;
            label.set(MenuBarLabelState{.spinTier = tier});
        }
        timers.advance(1.0 / StatusItemController::maxFramesPerSecond);
    }
    if (iconsSet - before < static_cast<std::int64_t>(state.iterations()) / 2) {
        state.SkipWithError("the icon was not set on most frames");
    }
}
BENCHMARK(BM_TrayFrame)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace halvoren

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication app(argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
