#include "core/menu_bar_item_renderer.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

using namespace MenuBarItemRenderer;

TEST(MenuBarTextsTest, RPMIsShownInStepsOfFiftyAndAnythingElseUnchanged) {
    const std::pair<const char*, const char*> cases[] = {
        {"2124", "2100"},
        {"2125", "2150"},
        {"0", "0"},
        {"25", "50"},
        {"-2124", "-2100"},
        {"-2125", "-2150"},
        {"+2125", "2150"},
        {"--", "--"},
        {"", ""},
        {"-", "-"},
        {"+-5", "+-5"},
        {"2125.0", "2125.0"},
        {" 2125", " 2125"},
        // Too large for an integer: as it is. The ends of the range round inwards.
        {"99999999999999999999", "99999999999999999999"},
        {"9223372036854775807", "9223372036854775800"},
        {"-9223372036854775808", "-9223372036854775800"},
    };
    for (const auto& [text, shown] : cases) {
        EXPECT_EQ(quantizedRPMText(text), shown) << text;
    }
}

TEST(MenuBarTextsTest, ShortNamesAreTheFirstWordCutToEightCharacters) {
    const std::pair<const char*, const char*> cases[] = {
        {"Thunderbolt Left Proximity", "Thunderb"},
        {"CPU Core 1", "CPU"},
        {"  Battery   Pack", "Battery"},
        {"Airflow", "Airflow"},
        {"12345678", "12345678"},
        {"", ""},
        {"          ", "        "},  // blanks only: the whole name, cut
        {"Température", "Températ"}, // characters, not bytes
    };
    for (const auto& [name, shortName] : cases) {
        EXPECT_EQ(shortSensorName(name), shortName) << name;
    }
}

TEST(MenuBarTextsTest, EachReadoutHasItsTextAndSpokenText) {
    const MenuBarLabelState base{
        .temperatureText = "62°C", .fanText = "2124", .hottestSensorText = "Thunderb 71°C"};
    struct Case {
        MenuBarReadout readout;
        const char* text;
        const char* spoken;
    };
    const Case cases[] = {
        {MenuBarReadout::none, "", "Halvoren fan control"},
        {MenuBarReadout::controlTemperature, "62°C", "Control temperature, 62°C"},
        {MenuBarReadout::hottestFan, "2100", "Fan speed, 2124 RPM"},
        {MenuBarReadout::both, "62°C · 2100", "Control temperature 62°C, fan speed 2124 RPM"},
        {MenuBarReadout::hottestSensor, "Thunderb 71°C", "Hottest sensor, Thunderb 71°C"},
    };
    for (const Case& c : cases) {
        MenuBarLabelState state = base;
        state.readout = c.readout;
        EXPECT_EQ(labelText(state), c.text) << rawValue(c.readout);
        EXPECT_EQ(accessibilityText(state), c.spoken) << rawValue(c.readout);
    }
    // Without the controller the fan readout shows the placeholder as it is.
    EXPECT_EQ(labelText(MenuBarLabelState{.readout = MenuBarReadout::hottestFan}), "--");
}

} // namespace
} // namespace halvoren
