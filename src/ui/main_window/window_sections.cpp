#include "ui/main_window/window_sections.h"

#include <algorithm>

namespace halvoren {

const SectionInfo& sectionInfo(Section section) {
    return sections[static_cast<std::size_t>(section)];
}

Section sectionFromRaw(const QString& raw) {
    const std::string text = raw.toStdString();
    const auto* found = std::ranges::find(sections, std::string_view(text), &SectionInfo::raw);
    return found == sections.end() ? Section::dashboard : found->section;
}

QString helperFooterText(const HelperState& state) {
    switch (state.kind()) {
    case HelperState::Kind::connected:
        return QStringLiteral("Fan control active");
    case HelperState::Kind::enabled:
        return QStringLiteral("Connecting\u2026");
    default:
        return QStringLiteral("Sensors unavailable");
    }
}

std::optional<HelperBannerText> helperBannerText(const HelperState& state, bool smcAvailable) {
    switch (state.kind()) {
    case HelperState::Kind::connected:
        return std::nullopt;
    case HelperState::Kind::notRegistered:
        return HelperBannerText{
            QStringLiteral("Fan control needs the helper installed"),
            QStringLiteral("Readings are live. Install the helper to enable fan control."),
            HelperAction::install};
    case HelperState::Kind::requiresApproval:
        return HelperBannerText{
            QStringLiteral("Fan control needs approval"),
            QStringLiteral("Approve Halvoren's helper in System Settings \u2192 Login Items "
                           "to enable fan control."),
            HelperAction::approve};
    case HelperState::Kind::enabled:
        return HelperBannerText{
            QStringLiteral("Connecting to the fan-control helper\u2026"),
            QStringLiteral("The helper is registered. Establishing the control connection."),
            HelperAction::none};
    case HelperState::Kind::unavailable:
        break;
    }
    if (!smcAvailable) {
        return HelperBannerText{QStringLiteral("Sensors unavailable"),
                                QStringLiteral("Readings and fan control are both unavailable."),
                                HelperAction::none};
    }
    const QString reason = QString::fromStdString(state.reason());
    return HelperBannerText{QStringLiteral("SMC unavailable: ") + reason, reason, HelperAction::install};
}

QString helperActionTitle(HelperAction action) {
    switch (action) {
    case HelperAction::install:
        return QStringLiteral("Install fan-control helper");
    case HelperAction::approve:
        return QStringLiteral("Approve in System Settings");
    case HelperAction::none:
        break;
    }
    return {};
}

} // namespace halvoren
