#pragma once

#include "ui/engine_watch.h"
#include "ui/panel/panel_values.h"

#include <QTimer>
#include <QWidget>
#include <functional>
#include <optional>
#include <vector>

class QLabel;
class QVBoxLayout;

namespace halvoren {

class AmbientBackdrop;
class Clock;
class FanFlowMeter;
class FooterButton;
class HalvorenEngine;
class ListRowButton;
class ModuleCard;
class AccentButton;
class PresetTabs;
class SpeedSlider;
class TileButton;

// What the panel asks of the shell. `openMainWindow` brings the main window forward, first
// switching it to `section` when one is given ("settings", "sensors", "dashboard"); the panel
// closes itself through `closePanel` afterwards. `quit` takes the normal termination path.
struct PanelActions {
    std::function<void(std::optional<QString> section)> openMainWindow = {};
    std::function<void()> closePanel = {};
    std::function<void()> quit = {};
};

// The quick control surface under the menu-bar item: the helper's honesty line, the
// temperature and fans, the three presets, the custom modes, Turbo and a cooldown, a fixed
// speed slider, and the way to the main window. It is built anew on each opening, reads
// everything from the engine and repaints only what a changed field touches.
class MenuBarPanel : public QWidget {
public:
    static constexpr int panelWidth = 360;
    // Slider positions are kept in thousandths.
    static constexpr int sliderSteps = 1000;
    static constexpr double cornerRadius = 14.0;

    MenuBarPanel(HalvorenEngine& engine, const Clock& clock, PanelActions actions, QWidget* parent = nullptr);
    ~MenuBarPanel() override;

    // What it shows, for the shell's tooltip and for checks.
    std::optional<QString> honestyText() const;
    QString heroTemperatureText() const;
    QString speedText() const;
    double sliderValue() const;
    bool isCountdownRunning() const { return countdown_.isActive(); }

    PresetTabs& presetTabs() const { return *tabs_; }
    TileButton& turboButton() const { return *turbo_; }
    TileButton& cooldownButton() const { return *cooldown_; }
    SpeedSlider& speedSlider() const { return *slider_; }
    const std::vector<ListRowButton*>& modeRows() const { return modeRows_; }
    const std::vector<FanFlowMeter*>& fanMeters() const { return meters_; }
    AccentButton& heroTemperature() const { return *heroTemperature_; }
    AccentButton& heroFans() const { return *heroFans_; }

protected:
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void build();
    void watchEngine();
    void open(std::optional<QString> section) const;
    void refreshHonesty();
    void refreshHero();
    void refreshFans();
    void refreshTabs();
    void rebuildModes();
    void refreshTurbo();
    void refreshCooldown();
    void refreshSpeedLabel();
    // The slider follows the active profile, except while the user drags it.
    void syncSlider();
    void refreshAccent();
    void refreshFrost();
    void chainFocus();

    HalvorenEngine& engine_;
    const Clock& clock_;
    PanelActions actions_;
    bool dragging_ = false;

    QVBoxLayout* column_ = nullptr;
    ModuleCard* honestyCard_ = nullptr;
    QLabel* honesty_ = nullptr;
    ModuleCard* heroCard_ = nullptr;
    AccentButton* heroTemperature_ = nullptr;
    AccentButton* heroFans_ = nullptr;
    std::vector<FanFlowMeter*> meters_;
    ModuleCard* modeCard_ = nullptr;
    PresetTabs* tabs_ = nullptr;
    ModuleCard* modesCard_ = nullptr;
    std::vector<ListRowButton*> modeRows_;
    TileButton* turbo_ = nullptr;
    TileButton* cooldown_ = nullptr;
    ModuleCard* speedCard_ = nullptr;
    QWidget* speedHeader_ = nullptr;
    SpeedSlider* slider_ = nullptr;
    std::vector<FooterButton*> footer_;
    QTimer countdown_;
    AmbientBackdrop* backdrop_ = nullptr;
    EngineWatch watch_;
};

} // namespace halvoren
