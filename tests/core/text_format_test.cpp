#include "core/double_text.h"
#include "core/menu_bar_item_renderer.h"
#include "core/temperature_format.h"

#include <bit>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <utility>

namespace halvoren {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double twoTo53 = 9007199254740992.0;
using TextPairs = std::pair<const char*, const char*>[];

TEST(DoubleText, ShortestDigitsPositionalFrom1eMinus4UpTo2To53) {
    // 2^53 + 2 is the next Double above 2^53.
    const std::pair<double, const char*> cases[] = {{-1.0, "-1.0"},
                                                    {0.0, "0.0"},
                                                    {-0.0, "-0.0"},
                                                    {1.0 / 3.0, "0.3333333333333333"},
                                                    {0.0001, "0.0001"},
                                                    {0.00001, "1e-05"},
                                                    {-1.5e-7, "-1.5e-07"},
                                                    {twoTo53 - 1, "9007199254740991.0"},
                                                    {twoTo53, "9007199254740992.0"},
                                                    {-twoTo53, "-9007199254740992.0"},
                                                    {twoTo53 + 2, "9.007199254740994e+15"},
                                                    {1e16, "1e+16"},
                                                    {1.7976931348623157e308, "1.7976931348623157e+308"},
                                                    {inf, "inf"},
                                                    {-inf, "-inf"}};
    for (const auto& [value, text] : cases) {
        EXPECT_EQ(doubleText(value), text);
        EXPECT_EQ(doubleDebugText(value), text);
    }
}

TEST(DoubleText, EveryNaNReadsNanButItsDebugFormKeepsSignKindAndPayload) {
    const std::pair<std::uint64_t, const char*> cases[] = {{0x7FF8000000000000, "nan"},
                                                           {0xFFF8000000000000, "-nan"},
                                                           {0x7FF8000020000000, "nan(0x20000000)"},
                                                           {0x7FF0000000000001, "snan(0x1)"},
                                                           {0xFFF7FFFFFFFFFFFF, "-snan(0x7ffffffffffff)"}};
    for (const auto& [bits, text] : cases) {
        EXPECT_EQ(doubleText(std::bit_cast<double>(bits)), "nan");
        EXPECT_EQ(doubleDebugText(std::bit_cast<double>(bits)), text);
    }
}

using TemperatureFormat::display;
using TemperatureFormat::value;

TEST(TemperatureFormat, TextRoundsAsTheCFormatDoesInTheChosenUnit) {
    // Exact binary halves go to the even neighbour, others to the nearer one (0.35 is stored just below
    // the half); the sign of a value that rounds to zero stays; c × 9 / 5 + 32 and c × 1.8 + 32 differ
    // in the last bit, which decides the Fahrenheit halves.
    const struct {
        double celsius;
        bool fahrenheit, precise;
        const char* text;
    } rows[] = {
        {71.4, false, false, "71°C"},    {71.4, false, true, "71.4°C"}, {71.4, true, false, "161°F"},
        {71.4, true, true, "160.5°F"},   {0, false, true, "0.0°C"},     {105.96, false, true, "106.0°C"},
        {22.5, false, false, "22°C"},    {1.5, false, false, "2°C"},    {49.5000001, false, false, "50°C"},
        {0.25, false, true, "0.2°C"},    {0.75, false, true, "0.8°C"},  {0.35, false, true, "0.3°C"},
        {-0.4, false, false, "-0°C"},    {-0.0, false, false, "-0°C"},  {-0.04, false, true, "-0.0°C"},
        {-17.9, true, false, "-0°F"},    {22.25, true, true, "72.0°F"}, {72.75, true, true, "162.9°F"},
        {-49.25, true, true, "-56.7°F"}, {inf, false, false, "inf°C"},  {-inf, true, true, "-inf°F"}};
    for (const auto& row : rows) {
        EXPECT_EQ(display(row.celsius, row.fahrenheit, row.precise), row.text) << row.celsius;
    }
    EXPECT_EQ(value(37, true, true), "98.6");
    // Extreme values are formatted whole.
    EXPECT_EQ(value(1e300, false, false).size(), 301U);
    EXPECT_EQ(value(-1e300, true, true).size(), 304U); // "-1799...99" plus ".0"
    EXPECT_EQ(display(-1e300, false, true).substr(304), "°C");
}

TEST(TemperatureFormat, TheReadoutsNumberRoundsHalvesAwayFromZero) {
    // Unlike the text form above, whose exact halves go to the even neighbour.
    EXPECT_EQ(TemperatureFormat::rounded(22.5, false, false), 23.0);
    EXPECT_EQ(TemperatureFormat::rounded(-22.5, false, false), -23.0);
    EXPECT_EQ(TemperatureFormat::rounded(0.25, false, true), 0.3);
    EXPECT_EQ(TemperatureFormat::rounded(37.0, true, true), 98.6);
    EXPECT_EQ(TemperatureFormat::rounded(71.4, true, false), 161.0);
}

using namespace MenuBarItemRenderer;

TEST(MenuBarTextsTest, RPMIsShownInStepsOfFiftyAndAnythingElseUnchanged) {
    // The ends of the integer range round inwards.
    for (const auto& [text, shown] : TextPairs{{"2124", "2100"},
                                               {"2125", "2150"},
                                               {"25", "50"},
                                               {"-2124", "-2100"},
                                               {"-2125", "-2150"},
                                               {"+2125", "2150"},
                                               {"9223372036854775807", "9223372036854775800"},
                                               {"-9223372036854775808", "-9223372036854775800"}}) {
        EXPECT_EQ(quantizedRPMText(text), shown) << text;
    }
    // Not an integer, or too large for one: as it is.
    for (const char* text : {"0", "--", "", "-", "+-5", "2125.0", " 2125", "99999999999999999999"}) {
        EXPECT_EQ(quantizedRPMText(text), text);
    }
}

TEST(MenuBarTextsTest, ShortNamesAreTheFirstWordCutToEightCharacters) {
    // Blanks only: the whole name, cut; eight characters, not bytes.
    for (const auto& [name, shortName] : TextPairs{{"Thunderbolt Left Proximity", "Thunderb"},
                                                   {"CPU Core 1", "CPU"},
                                                   {"  Battery   Pack", "Battery"},
                                                   {"Airflow", "Airflow"},
                                                   {"12345678", "12345678"},
                                                   {"", ""},
                                                   {"          ", "        "},
                                                   {"Température", "Températ"}}) {
        EXPECT_EQ(shortSensorName(name), shortName) << name;
    }
}

TEST(MenuBarTextsTest, EachReadoutHasItsTextAndSpokenText) {
    const MenuBarLabelState base{
        .temperatureText = "62°C", .fanText = "2124", .hottestSensorText = "Thunderb 71°C"};
    const struct {
        MenuBarReadout readout;
        const char* text;
        const char* spoken;
    } cases[] = {
        {MenuBarReadout::none, "", "Halvoren fan control"},
        {MenuBarReadout::controlTemperature, "62°C", "Control temperature, 62°C"},
        {MenuBarReadout::hottestFan, "2100", "Fan speed, 2124 RPM"},
        {MenuBarReadout::both, "62°C · 2100", "Control temperature 62°C, fan speed 2124 RPM"},
        {MenuBarReadout::hottestSensor, "Thunderb 71°C", "Hottest sensor, Thunderb 71°C"},
    };
    for (const auto& c : cases) {
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
