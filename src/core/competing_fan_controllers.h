#pragma once

#include <array>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>

namespace halvoren {

// Another program that may hold the controller and drive the fans, known by how the
// platform names a running program: a bundle identifier on macOS, a process name on Linux.
struct CompetingFanController {
    std::string_view identifier;
    std::string_view name;
};

// Searched in this order; the first running one names the culprit.
inline constexpr std::array<CompetingFanController, 4> macCompetingFanControllers{{
    {"com.crystalidea.macsfancontrol", "Macs Fan Control"},
    {"com.tunabellysoftware.TGPro", "TG Pro"},
    {"com.bjango.istatmenus6", "iStat Menus"},
    {"com.bjango.istatmenus", "iStat Menus"},
}};

// The fan daemons a Mac or laptop user may run on Linux, by process name.
inline constexpr std::array<CompetingFanController, 6> linuxCompetingFanControllers{{
    {"mbpfan", "mbpfan"},
    {"fancontrol", "fancontrol"},
    {"thinkfan", "thinkfan"},
    {"fan2go", "fan2go"},
    {"nbfc_service", "NoteBook FanControl"},
    {"coolercontrold", "CoolerControl"},
}};

// This platform's own table.
std::span<const CompetingFanController> knownCompetingFanControllers();

// The name of the first program of `known` whose identifier is among `running`.
std::optional<std::string>
competingFanControllerName(const std::set<std::string>& running,
                           std::span<const CompetingFanController> known = knownCompetingFanControllers());

// What to show while the controller cannot be opened, naming a likely culprit if there is one.
std::string smcUnavailableDescription(const std::optional<std::string>& competitor);

} // namespace halvoren
