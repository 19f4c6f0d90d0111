#pragma once

#include "ui/engine_watch.h"

#include <QWidget>
#include <vector>

class QSettings;
class QHBoxLayout;

namespace halvoren {

class AmbientBackdrop;
class FanFlowMeter;
class HalvorenEngine;

// The main window: the scene behind glass cards holding the weather and the fans, its size
// rules, and the engine told whether it is on screen (the heat sampler hurries while it is).
// Closing it hides it; the program goes on in the menu bar.
class MainWindow : public QWidget {
public:
    static constexpr QSize defaultSize{1100, 800};
    static constexpr QSize minimumContentSize{820, 620};

    MainWindow(HalvorenEngine& engine, QSettings& settings, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Shows the window, centred on the screen with the pointer the first time, and raises it.
    void present();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void refreshFans();

    HalvorenEngine& engine_;
    AmbientBackdrop* backdrop_;
    QHBoxLayout* fanRow_ = nullptr;
    std::vector<FanFlowMeter*> meters_;
    EngineWatch watch_;
    bool placed_ = false;
};

} // namespace halvoren
