#include "core/thermal_almanac.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace halvoren {
namespace {

using namespace std::chrono;
using Day = ThermalAlmanac::DayRecord;

local_seconds local(year_month_day date, int hour, int minute = 0) {
    return local_days{date} + hours{hour} + minutes{minute};
}

std::string encoded(const ThermalAlmanac& almanac) {
    return encodeThermalAlmanac(almanac).value_or("unencodable");
}

// One peak at `hour` on each of the given days of March 2026.
ThermalAlmanac peaksAt(int hour, const std::vector<double>& peaks) {
    ThermalAlmanac almanac;
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        almanac.record(peaks[i], local(2026y / March / day{static_cast<unsigned>(i + 1)}, hour));
    }
    return almanac;
}

TEST(ThermalAlmanac, RecordKeepsEachLocalHoursPeak) {
    ThermalAlmanac almanac;
    const auto day = 2026y / March / 9;
    almanac.record(61.25, local(day, 9, 5));
    almanac.record(60.0, local(day, 9, 59)); // lower: no change
    almanac.record(74.0, local(day, 14));
    almanac.record(73.0, local(day, 14, 30));
    almanac.record(std::numeric_limits<double>::infinity(), local(day, 14));
    almanac.record(std::numeric_limits<double>::quiet_NaN(), local(day, 15));
    EXPECT_EQ(encoded(almanac), R"({"days":[{"dayKey":"2026-03-09","hourPeaks":{"9":61.25,"14":74}}]})");
    almanac.record(66.5, local(day, 9, 10)); // higher: replaces
    almanac.record(-3.0, local(day, 23, 59));
    almanac.record(50.0, local(2026y / March / 10, 0));
    EXPECT_EQ(almanac.days.front().hourPeaks, (std::map<int, double>{{9, 66.5}, {14, 74.0}, {23, -3.0}}));
    EXPECT_EQ(almanac.days.back(), (Day{"2026-03-10", {{0, 50.0}}}));
    // The local clock decides: when it repeats an hour (a 25-hour day) both passes share one peak.
    almanac.record(52.0, local(2026y / March / 10, 0, 30));
    EXPECT_EQ(almanac.days.back().hourPeaks.at(0), 52.0);
}

TEST(ThermalAlmanac, KeepsTheNewestFourteenDaysInDateOrder) {
    ThermalAlmanac almanac;
    // Fifteen days across a year end, recorded out of order.
    for (const int offset : {14, 0, 7, 3, 1, 2, 4, 5, 6, 8, 9, 10, 11, 12, 13}) {
        almanac.record(50.0 + offset,
                       local(year_month_day{local_days{2025y / December / 25} + days{offset}}, 12));
    }
    ASSERT_EQ(almanac.days.size(), 14u);
    EXPECT_EQ(almanac.days.front().dayKey, "2025-12-26");
    EXPECT_EQ(almanac.days[6].dayKey, "2026-01-01");
    EXPECT_EQ(almanac.days.back(), (Day{"2026-01-08", {{12, 64.0}}}));

    // Days read from a file in any order are sorted by the next record.
    ThermalAlmanac loaded{{{"2026-03-09", {}}, {"0999-01-01", {}}, {"2026-02-28", {}}}};
    loaded.record(40.0, local(2026y / March / 1, 8));
    EXPECT_EQ(loaded.days[0].dayKey, "0999-01-01");
    EXPECT_EQ(loaded.days[2], (Day{"2026-03-01", {{8, 40.0}}}));
    EXPECT_EQ(loaded.days[3].dayKey, "2026-03-09");
}

TEST(ThermalAlmanac, ProfileIsThePopulationMeanAndSpreadOfAnHoursPeaks) {
    const auto almanac = peaksAt(15, {2, 4, 4, 4, 5, 5, 7, 9});
    EXPECT_EQ(almanac.profile(15), (ThermalAlmanac::HourProfile{15, 8, 5.0, 2.0}));
    EXPECT_EQ(almanac.profile(14), std::nullopt);
    EXPECT_EQ(peaksAt(3, {71.5}).profile(3), (ThermalAlmanac::HourProfile{3, 1, 71.5, 0.0}));
    EXPECT_EQ(ThermalAlmanac{}.profile(0), std::nullopt);
}

TEST(ThermalAlmanac, OutlookIsTheNearestFirmHotHourOfTheNextEight) {
    const auto week = [](double peak) { return std::vector<double>(7, peak); };
    const struct {
        const char* what;
        ThermalAlmanac almanac;
        int nowHour;
        std::optional<int> hour;
    } rows[] = {
        {"a week of 64", peaksAt(15, week(64.0)), 14, 15},
        {"six days are not enough", peaksAt(15, std::vector<double>(6, 90.0)), 14, std::nullopt},
        {"63.9 is not hot", peaksAt(15, week(63.9)), 14, std::nullopt},
        {"a spread of exactly 8 passes", peaksAt(15, {62, 62, 62, 62, 78, 78, 78, 78}), 14, 15},
        {"a wider spread fails", peaksAt(15, {61.99, 62, 62, 62, 78, 78, 78, 78.01}), 14, std::nullopt},
        {"the present hour is not looked at", peaksAt(15, week(80.0)), 15, std::nullopt},
        {"eight hours ahead", peaksAt(15, week(80.0)), 7, 15},
        {"nine hours ahead is too far", peaksAt(15, week(80.0)), 6, std::nullopt},
        {"through midnight", peaksAt(4, week(80.0)), 22, 4},
    };
    for (const auto& row : rows) {
        const auto outlook = row.almanac.outlook(local(2026y / March / 20, row.nowHour, 45), 72.0);
        EXPECT_EQ(outlook ? std::optional(outlook->hour) : std::nullopt, row.hour) << row.what;
    }
    auto both = peaksAt(18, week(95.0));
    for (unsigned d = 1; d <= 7; ++d) {
        both.record(70.25, local(2026y / March / day{d}, 16));
    }
    EXPECT_EQ(both.outlook(local(2026y / March / 20, 14), 72.0),
              (ThermalAlmanac::Outlook{16, 70.25, "Builds usually arrive around 4p, typical peak 70°"}));
}

TEST(ThermalAlmanac, HoursReadOnTheTwelveHourClock) {
    const std::pair<int, const char*> labels[] = {{0, "12a"},  {1, "1a"},  {11, "11a"},
                                                  {12, "12p"}, {13, "1p"}, {23, "11p"}};
    for (const auto& [hour, label] : labels) {
        EXPECT_EQ(ThermalAlmanac::shortHourLabel(hour), label);
    }
    EXPECT_EQ(ThermalAlmanac::outlookLine(15, 87.5), "Builds usually arrive around 3p, typical peak 88°");
    EXPECT_EQ(ThermalAlmanac::outlookLine(0, 64.49), "Builds usually arrive around 12a, typical peak 64°");
    EXPECT_EQ(ThermalAlmanac::outlookLine(12, -0.4), "Builds usually arrive around 12p, typical peak 0°");
}

TEST(ThermalAlmanac, FileReadsBackAndAnythingMalformedReadsAsNothing) {
    const std::string file = R"({"days":[{"dayKey":"2026-03-09","hourPeaks":{"9":61.25,"14":74}},)"
                             R"({"dayKey":"2026-03-10","hourPeaks":{}}]})";
    const auto almanac = decodeThermalAlmanac(file);
    ASSERT_TRUE(almanac);
    EXPECT_EQ(encoded(*almanac), file);
    EXPECT_EQ(decodeThermalAlmanac(
                  R"({"extra":1,"days":[{"hourPeaks":{"14":74,"09":61.25},"dayKey":"2026-03-09"}]})"),
              (ThermalAlmanac{{{"2026-03-09", {{9, 61.25}, {14, 74.0}}}}}));
    EXPECT_EQ(encoded(ThermalAlmanac{}), R"({"days":[]})");

    for (std::size_t cut = 0; cut < file.size(); ++cut) {
        EXPECT_EQ(decodeThermalAlmanac(file.substr(0, cut)), std::nullopt) << cut;
    }
    const char* corrupt[] = {"[]", R"({"days":{}})", R"({"days":[{"hourPeaks":{}}]})",
                             R"({"days":[{"dayKey":"x"}]})"};
    // The peaks of one day, each malformed.
    const char* peaks[] = {"[]",           R"({"9":"61"})",  R"({"9":null})", R"({"24":61})",
                           R"({"-1":61})", R"({"nine":61})", R"({"":61})",    R"({"9":1e999})"};
    for (const char* text : corrupt) {
        EXPECT_EQ(decodeThermalAlmanac(text), std::nullopt) << text;
    }
    for (const char* text : peaks) {
        EXPECT_EQ(decodeThermalAlmanac(R"({"days":[{"dayKey":"2026-03-09","hourPeaks":)" + std::string(text) +
                                       "}]}"),
                  std::nullopt)
            << text;
    }
}

} // namespace
} // namespace halvoren
