#include "core/competing_fan_controllers.h"

namespace halvoren {

std::span<const CompetingFanController> knownCompetingFanControllers() {
#if defined(__APPLE__)
    return macCompetingFanControllers;
#else
    return linuxCompetingFanControllers;
#endif
}

std::optional<std::string> competingFanControllerName(const std::set<std::string>& running,
                                                      std::span<const CompetingFanController> known) {
    for (const auto& controller : known) {
        if (running.contains(std::string(controller.identifier))) {
            return std::string(controller.name);
        }
    }
    return std::nullopt;
}

std::string smcUnavailableDescription(const std::optional<std::string>& competitor) {
    if (competitor) {
        return "Couldn't open the SMC. " + *competitor +
               " is running and may be holding it. Sensors reconnect automatically once it quits.";
    }
    return "Couldn't open the SMC. Retrying automatically.";
}

} // namespace halvoren
