#pragma once

#include "core/menu_bar_label_state.h"
#include "engine/observable.h"
#include "platform/accessibility_preferences.h"
#include "platform/timer_source.h"
#include "ui/menu_bar/fan_mark_frames.h"

#include <QColor>
#include <QIcon>
#include <QRect>
#include <QString>
#include <QSystemTrayIcon>
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace halvoren {

class HalvorenEngine;

// The menu-bar item: the fan mark in the system tray, turning faster and warming in colour as
// the fans speed up, with the readout in its tooltip (a tray item is a square icon). It acts
// only on a change of the engine's label: first the state is compared, then the text, then
// the spin tier, then the colour; the icon is handed to the tray only when the chosen frame
// differs from the last one. While the icon stands still and no fade runs, no timer runs.
class StatusItemController {
public:
    using OpenPanel = std::function<void(QRect trayGeometry)>;
    using IconSink = std::function<void(const QIcon&)>;

    // Revolutions per second of each spin tier.
    static constexpr std::array<double, 6> spinSpeeds{0.0, 0.35, 0.7, 1.2, 1.8, 2.4};
    static constexpr double maxFramesPerSecond = 12.0;
    static constexpr double tintFadeSeconds = 0.45;

    struct Environment {
        TimerSource& timers;
        std::shared_ptr<AccessibilityPreferences> accessibility;
        // Empty: told by the application palette.
        std::optional<bool> darkTray = {};
        // The tray's icon square in logical pixels.
        int iconSize = 22;
        // Empty: the screen's own.
        std::optional<double> devicePixelRatio = {};
        // Empty: the tray's own `setIcon`.
        IconSink iconSink = {};
    };

    explicit StatusItemController(Environment environment);
    ~StatusItemController();
    StatusItemController(const StatusItemController&) = delete;
    StatusItemController& operator=(const StatusItemController&) = delete;

    // Once: shows the item and follows the engine's label, which must outlive the controller; a click calls
    // `openPanel` with the tray's geometry (empty where the tray gives none). Later calls do nothing.
    void attach(const HalvorenEngine& engine, OpenPanel openPanel);
    void attach(const Observable<MenuBarLabelState>& label, OpenPanel openPanel);

    QSystemTrayIcon& trayIcon() { return tray_; }
    // The icon's angle in radians, clockwise, within one fifth of a turn.
    double angle() const { return angle_; }
    // The tint the icon shows or is fading to; none for the plain colour.
    std::optional<QColor> tint() const { return tint_; }
    // Whether a frame timer is pending.
    bool isAnimating() const { return frameTimerPending_; }

private:
    void apply(const MenuBarLabelState& state);
    void applySpin(int tier);
    void applyTint(int tier);
    // Brings the angle and the fade up to `now` at the present speed.
    void advanceTo(double now);
    QColor shownColor(double now) const;
    void showFrame();
    void scheduleFrame();
    void onFrame();
    bool fading(double now) const;
    double now() const { return timers_.clock().monotonicNow(); }

    TimerSource& timers_;
    std::shared_ptr<AccessibilityPreferences> accessibility_;
    bool darkTray_;
    FanMarkFrames frames_;
    IconSink iconSink_;
    QSystemTrayIcon tray_;
    OpenPanel openPanel_;

    const Observable<MenuBarLabelState>* label_ = nullptr;
    int labelToken_ = 0;
    int accessibilityToken_ = 0;
    std::optional<MenuBarLabelState> lastState_;
    QString toolTip_;

    std::optional<int> spinningTier_;
    double angle_ = 0.0;
    double lastAdvance_ = 0.0;
    std::optional<QColor> tint_;
    QColor fadeFrom_;
    double fadeStart_ = -1e9;
    std::optional<std::pair<int, QRgb>> lastFrame_;
    TimerHandle frameTimer_;
    bool frameTimerPending_ = false;
};

} // namespace halvoren
