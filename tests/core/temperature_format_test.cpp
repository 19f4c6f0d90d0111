#include "core/temperature_format.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace halvoren {
namespace {

using TemperatureFormat::display;
using TemperatureFormat::value;
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(TemperatureFormat, TextRoundsAsTheCFormatDoesInTheChosenUnit) {
    const struct {
        double celsius;
        bool fahrenheit, precise;
        const char* text;
    } rows[] = {
        {71.4, false, false, "71°C"},
        {71.4, false, true, "71.4°C"},
        {71.4, true, false, "161°F"},
        {71.4, true, true, "160.5°F"},
        {0, false, true, "0.0°C"},
        {105.96, false, true, "106.0°C"},
        // Exact binary halves go to the even neighbour; others to the nearer one.
        {22.5, false, false, "22°C"},
        {1.5, false, false, "2°C"},
        {49.5000001, false, false, "50°C"},
        {0.25, false, true, "0.2°C"},
        {0.75, false, true, "0.8°C"},
        {0.35, false, true, "0.3°C"}, // 0.35 is stored just below the half
        // The sign of a value that rounds to zero stays.
        {-0.4, false, false, "-0°C"},
        {-0.0, false, false, "-0°C"},
        {-0.04, false, true, "-0.0°C"},
        {-17.9, true, false, "-0°F"},
        // c × 9 / 5 + 32 and c × 1.8 + 32 differ in the last bit, which decides these halves.
        {22.25, true, true, "72.0°F"},
        {72.75, true, true, "162.9°F"},
        {-49.25, true, true, "-56.7°F"},
        {inf, false, false, "inf°C"},
        {-inf, true, true, "-inf°F"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(display(row.celsius, row.fahrenheit, row.precise), row.text) << row.celsius;
    }
    EXPECT_EQ(value(37, true, true), "98.6");
}

TEST(TemperatureFormat, ExtremeValuesAreFormattedWhole) {
    const std::string huge = value(1e300, false, false);
    EXPECT_EQ(huge.size(), 301U);
    EXPECT_EQ(huge.substr(0, 4), "1000");
    EXPECT_EQ(value(-1e300, true, true).size(), 304U); // "-1799...99" plus ".0"
    EXPECT_EQ(display(-1e300, false, true).substr(0, 3), "-10");
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

} // namespace
} // namespace halvoren
