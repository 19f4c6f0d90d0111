#pragma once

#include "engine/helper_state.h"

#include <QString>
#include <array>
#include <optional>
#include <string>

namespace halvoren::first_run {

enum class Step { welcome, helper, notifications, loginItem, done };
inline constexpr std::array<Step, 5> steps{Step::welcome, Step::helper, Step::notifications, Step::loginItem,
                                           Step::done};

struct StepText {
    std::string symbol;
    QString title;
    QString subtitle;
};
StepText stepText(Step step);

// The neighbours in the step order; none past either end.
std::optional<Step> nextStep(Step step);
std::optional<Step> previousStep(Step step);

// What the footer offers on a step.
struct Footer {
    bool back;
    bool skip;
    QString main; // "Get Started", "Continue" or "Finish"
};
Footer footer(Step step);

// The helper step's status line and what stands below it.
enum class HelperAction { none, install, approve };
struct HelperStatus {
    QString text;
    std::string symbol;
    HelperAction action;
    QString actionTitle;
    QString note; // the approval hint, or the reason it is unavailable
};
HelperStatus helperStatus(const HelperState& state);

// The notifications step after the question: the label, its symbol and the hint when refused.
struct NotificationOutcome {
    QString text;
    std::string symbol;
    QString note;
};
NotificationOutcome notificationOutcome(bool granted);

// How long a step change takes: a short ease, or 0.15 s under reduced motion.
int transitionMilliseconds(bool reducedMotion);

} // namespace halvoren::first_run
