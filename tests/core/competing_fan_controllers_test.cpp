#include "core/competing_fan_controllers.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

TEST(CompetingFanControllers, TheFirstRowOfTheTableWinsNotTheFirstProgram) {
    const std::set<std::string> running{"com.apple.finder", "com.bjango.istatmenus",
                                        "com.crystalidea.macsfancontrol"};
    EXPECT_EQ(competingFanControllerName(running, macCompetingFanControllers), "Macs Fan Control");
    EXPECT_EQ(competingFanControllerName({"com.bjango.istatmenus"}, macCompetingFanControllers),
              "iStat Menus");
    EXPECT_EQ(competingFanControllerName({"com.apple.finder"}, macCompetingFanControllers), std::nullopt);
    EXPECT_EQ(competingFanControllerName({}, macCompetingFanControllers), std::nullopt);

    EXPECT_EQ(competingFanControllerName({"bash", "thinkfan", "mbpfan"}, linuxCompetingFanControllers),
              "mbpfan");
    EXPECT_EQ(competingFanControllerName({"coolercontrold"}, linuxCompetingFanControllers), "CoolerControl");
    // Identifiers match whole: a bundle identifier means nothing on the Linux table.
    EXPECT_EQ(competingFanControllerName({"com.crystalidea.macsfancontrol"}, linuxCompetingFanControllers),
              std::nullopt);
}

TEST(CompetingFanControllers, UnavailableDescriptionNamesTheCulpritWhenKnown) {
    EXPECT_NE(smcUnavailableDescription("TG Pro").find("TG Pro is running"), std::string::npos);
    EXPECT_EQ(smcUnavailableDescription(std::nullopt), "Couldn't open the SMC. Retrying automatically.");
}

} // namespace
} // namespace halvoren
