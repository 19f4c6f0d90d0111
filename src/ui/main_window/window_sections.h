#pragma once

#include "engine/helper_state.h"

#include <QString>
#include <array>
#include <optional>
#include <string_view>

namespace halvoren {

// The window's sections, in sidebar order.
enum class Section { dashboard, sensors, power, modes, settings };

struct SectionInfo {
    Section section;
    std::string_view raw;
    std::string_view title;
    std::string_view symbol;
};

inline constexpr std::array<SectionInfo, 5> sections{{
    {Section::dashboard, "dashboard", "Dashboard", "gauge.with.dots.needle.67percent"},
    {Section::sensors, "sensors", "Sensors", "list.bullet.rectangle.fill"},
    {Section::power, "power", "Power", "bolt.fill"},
    {Section::modes, "modes", "Modes", "square.grid.2x2.fill"},
    {Section::settings, "settings", "Settings", "gearshape.fill"},
}};

const SectionInfo& sectionInfo(Section section);
// A stored section; anything that is not one (an old or mistyped value) is the Dashboard.
Section sectionFromRaw(const QString& raw);

// The one line under the sidebar.
QString helperFooterText(const HelperState& state);

enum class HelperAction { none, install, approve };

struct HelperBannerText {
    QString title;
    QString detail;
    HelperAction action = HelperAction::none;
};

// The banner over every section while the helper is not connected; none while it is.
// `smcAvailable` tells a helper that failed from a controller that cannot be opened at all.
std::optional<HelperBannerText> helperBannerText(const HelperState& state, bool smcAvailable);
QString helperActionTitle(HelperAction action);

} // namespace halvoren
