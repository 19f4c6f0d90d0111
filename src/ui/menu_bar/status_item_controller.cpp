#include "ui/menu_bar/status_item_controller.h"

#include "core/menu_bar_item_renderer.h"
#include "engine/halvoren_engine.h"
#include "ui/menu_bar/tray_tints.h"

#include <QGuiApplication>
#include <QPalette>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace halvoren {

namespace {

constexpr double fifthOfATurn = 2.0 * std::numbers::pi / 5.0;
constexpr int topTier = static_cast<int>(StatusItemController::spinSpeeds.size()) - 1;

// Frames come at most 12 times a second, and a five-bladed mark that moves more than half a
// blade spacing between frames seems to stand or turn backwards (at 2.4 rev/s it moves exactly
// one spacing per frame and would look frozen). Every speed is scaled by one factor, so that
// the fastest moves 0.4 of a spacing per frame and the tiers keep their proportions.
constexpr double largestStepPerFrame = 0.4 * fifthOfATurn;
constexpr double visibleTurnScale = largestStepPerFrame * StatusItemController::maxFramesPerSecond /
                                    (2.0 * std::numbers::pi * StatusItemController::spinSpeeds.back());

bool paletteIsDark() {
    return QGuiApplication::palette().color(QPalette::Window).lightness() < 128;
}

int pixelSizeFor(int iconSize, std::optional<double> ratio) {
    const double dpr = ratio.value_or(qGuiApp != nullptr ? qGuiApp->devicePixelRatio() : 1.0);
    return std::max(1, static_cast<int>(std::lround(iconSize * std::max(dpr, 1.0))));
}

// The tray shows one square icon, so its tooltip carries the readout, then what a screen
// reader says (which is also what it reads for the item).
QString toolTipFor(const MenuBarLabelState& state) {
    const std::string text = MenuBarItemRenderer::labelText(state);
    const std::string spoken = MenuBarItemRenderer::accessibilityText(state);
    return QString::fromStdString(text.empty() ? spoken : text + "\n" + spoken);
}

} // namespace

StatusItemController::StatusItemController(Environment environment)
    : timers_(environment.timers)
    , accessibility_(std::move(environment.accessibility))
    , darkTray_(environment.darkTray.value_or(paletteIsDark()))
    , frames_(pixelSizeFor(environment.iconSize, environment.devicePixelRatio),
              environment.devicePixelRatio.value_or(qGuiApp != nullptr ? qGuiApp->devicePixelRatio() : 1.0))
    , iconSink_(std::move(environment.iconSink)) {
    if (!iconSink_) {
        iconSink_ = [this](const QIcon& icon) { tray_.setIcon(icon); };
    }
}

StatusItemController::~StatusItemController() {
    frameTimer_.cancel();
    if (label_ != nullptr) {
        label_->unobserve(labelToken_);
        accessibility_->unobserve(accessibilityToken_);
    }
}

void StatusItemController::attach(const HalvorenEngine& engine, OpenPanel openPanel) {
    attach(engine.menuBarLabelModel(), std::move(openPanel));
}

void StatusItemController::attach(const Observable<MenuBarLabelState>& label, OpenPanel openPanel) {
    if (label_ != nullptr) {
        return;
    }
    label_ = &label;
    openPanel_ = std::move(openPanel);
    QObject::connect(&tray_, &QSystemTrayIcon::activated, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger && openPanel_) {
            openPanel_(tray_.geometry());
        }
    });
    labelToken_ = label.observe([this](const MenuBarLabelState& state) { apply(state); });
    // The desktop's reduce-motion switch stops or restarts the icon at once.
    accessibilityToken_ = accessibility_->observe([this](const AccessibilitySettings&) {
        if (lastState_) {
            apply(*lastState_);
        }
    });
    apply(label.value());
    showFrame();
    tray_.show();
}

void StatusItemController::apply(const MenuBarLabelState& state) {
    if (QString tip = toolTipFor(state); tip != toolTip_) {
        toolTip_ = std::move(tip);
        tray_.setToolTip(toolTip_);
    }
    lastState_ = state;
    const bool moving = state.animated && !accessibility_->current().reduceMotion;
    applySpin(moving ? state.spinTier : 0);
    applyTint(moving ? state.spinTier : 0);
    // A frame that was due for a spin that has just stopped, with no fade to finish, is not needed.
    if (frameTimerPending_ && spinningTier_ == 0 && !fading(now())) {
        frameTimer_.cancel();
        frameTimerPending_ = false;
    }
}

void StatusItemController::applySpin(int tier) {
    tier = std::clamp(tier, 0, topTier);
    if (spinningTier_ == tier) {
        return;
    }
    // From where it stands: no jump when it stops or changes speed.
    advanceTo(now());
    spinningTier_ = tier;
    showFrame();
    scheduleFrame();
}

void StatusItemController::applyTint(int tier) {
    const std::optional<QColor> wanted = TrayTints::tierColor(tier, darkTray_);
    if (wanted == tint_) {
        return;
    }
    const double t = now();
    fadeFrom_ = shownColor(t);
    tint_ = wanted;
    fadeStart_ = t;
    scheduleFrame();
}

void StatusItemController::advanceTo(double t) {
    const int tier = spinningTier_.value_or(0);
    if (tier > 0 && t > lastAdvance_) {
        const double turned = spinSpeeds.at(static_cast<std::size_t>(tier)) * visibleTurnScale * 2.0 *
                              std::numbers::pi * (t - lastAdvance_);
        angle_ = std::fmod(angle_ + turned, fifthOfATurn);
    }
    lastAdvance_ = t;
}

bool StatusItemController::fading(double t) const {
    return t - fadeStart_ < tintFadeSeconds;
}

QColor StatusItemController::shownColor(double t) const {
    const QColor target = tint_.value_or(TrayTints::plainColor(darkTray_));
    return fading(t) ? TrayTints::blend(fadeFrom_, target, (t - fadeStart_) / tintFadeSeconds) : target;
}

void StatusItemController::showFrame() {
    const double t = now();
    const QColor color = shownColor(t);
    const int index = FanMarkFrames::frameIndex(angle_);
    const std::pair<int, QRgb> key{index, color.rgba()};
    if (lastFrame_ == key) {
        return;
    }
    lastFrame_ = key;
    iconSink_(QIcon(fading(t) ? frames_.tinted(index, color) : frames_.frame(index, color)));
}

void StatusItemController::scheduleFrame() {
    if (frameTimerPending_ || (spinningTier_.value_or(0) == 0 && !fading(now()))) {
        return;
    }
    frameTimerPending_ = true;
    frameTimer_ = timers_.schedule(1.0 / maxFramesPerSecond, [this] {
        frameTimerPending_ = false;
        onFrame();
    });
}

void StatusItemController::onFrame() {
    advanceTo(now());
    showFrame();
    scheduleFrame();
}

} // namespace halvoren
