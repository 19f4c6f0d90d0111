#include "ui/first_run/first_run_values.h"

#include <algorithm>

namespace halvoren::first_run {

namespace {

std::size_t indexOf(Step step) {
    return static_cast<std::size_t>(std::ranges::find(steps, step) - steps.begin());
}

} // namespace

StepText stepText(Step step) {
    switch (step) {
    case Step::welcome:
        return {
            "fan.fill", QStringLiteral("Welcome to Halvoren"),
            QStringLiteral("A quick, one-time setup: three short steps, then straight to the dashboard.")};
    case Step::helper:
        return {
            "bolt.shield.fill", QStringLiteral("Fan-Control Helper"),
            QStringLiteral("Halvoren reads sensors directly, but writing fan speeds needs a small privileged "
                           "helper, approved once in System Settings.")};
    case Step::notifications:
        return {
            "bell.badge.fill", QStringLiteral("Overheat Alerts"),
            QStringLiteral("Get notified if a sensor group runs hot, even when Halvoren isn't in front.")};
    case Step::loginItem:
        return {
            "power", QStringLiteral("Launch at Login"),
            QStringLiteral("Have Halvoren start automatically when you log in, so your fan curves are always "
                           "active.")};
    case Step::done:
        break;
    }
    return {"checkmark.circle.fill", QStringLiteral("You're All Set"),
            QStringLiteral("You can revisit any of this later from Settings.")};
}

std::optional<Step> nextStep(Step step) {
    const std::size_t index = indexOf(step) + 1;
    return index < steps.size() ? std::optional(steps.at(index)) : std::nullopt;
}

std::optional<Step> previousStep(Step step) {
    const std::size_t index = indexOf(step);
    return index > 0 ? std::optional(steps.at(index - 1)) : std::nullopt;
}

Footer footer(Step step) {
    const bool between = step != Step::welcome && step != Step::done;
    QString main = between
                       ? QStringLiteral("Continue")
                       : (step == Step::welcome ? QStringLiteral("Get Started") : QStringLiteral("Finish"));
    return {.back = between, .skip = step != Step::done, .main = std::move(main)};
}

HelperStatus helperStatus(const HelperState& state) {
    switch (state.kind()) {
    case HelperState::Kind::notRegistered:
        return {QStringLiteral("Not installed yet"),
                "circle.dashed",
                HelperAction::install,
                QStringLiteral("Install Helper"),
                {}};
    case HelperState::Kind::requiresApproval:
        return {QStringLiteral("Needs approval in System Settings"), "exclamationmark.triangle.fill",
                HelperAction::approve, QStringLiteral("Open System Settings"),
                QStringLiteral("Approve Halvoren under Login Items & Extensions, then return here.")};
    case HelperState::Kind::enabled:
        return {QStringLiteral("Enabled, connecting…"), "bolt.badge.checkmark", HelperAction::none, {}, {}};
    case HelperState::Kind::connected:
        return {QStringLiteral("Connected"), "checkmark.seal.fill", HelperAction::none, {}, {}};
    case HelperState::Kind::unavailable:
        break;
    }
    return {QStringLiteral("Unavailable"),
            "xmark.octagon.fill",
            HelperAction::none,
            {},
            QString::fromStdString(state.reason())};
}

NotificationOutcome notificationOutcome(bool granted) {
    if (granted) {
        return {QStringLiteral("Notifications enabled"), "checkmark.circle.fill", {}};
    }
    return {QStringLiteral("Notifications not enabled"), "bell.slash.fill",
            QStringLiteral("You can turn these on later in System Settings › Notifications.")};
}

int transitionMilliseconds(bool reducedMotion) {
    return reducedMotion ? 150 : 350;
}

} // namespace halvoren::first_run
