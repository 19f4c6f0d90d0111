#pragma once

#include "core/fan_status.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>
#include <gtest/gtest.h>

namespace halvoren {

// Views are built and checked without a display: the offscreen platform unless the caller
// chose another, and one application object per test.
class UiTest : public ::testing::Test {
protected:
    static inline int argc = 1;
    static inline char name[] = "halvoren_ui_tests";
    static inline char* argv[] = {name, nullptr};
    static bool offscreen() {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
            qputenv("QT_QPA_PLATFORM", "offscreen");
        }
        return true;
    }

    bool platformChosen_ = offscreen();
    QApplication app{argc, argv};
};

// A fan turning at `current` RPM in `min` ... `max`.
inline FanStatus fan(int id, double current, double min = 1200.0, double max = 6000.0) {
    return FanStatus{.id = id, .currentRPM = current, .minRPM = min, .maxRPM = max};
}

// A key pressed and let go on `widget`, with no modifier.
inline void press(QWidget& widget, int key) {
    QKeyEvent down(QEvent::KeyPress, key, Qt::NoModifier);
    QKeyEvent up(QEvent::KeyRelease, key, Qt::NoModifier);
    QApplication::sendEvent(&widget, &down);
    QApplication::sendEvent(&widget, &up);
}

} // namespace halvoren
