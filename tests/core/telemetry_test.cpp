#include "core/ring_buffer.h"
#include "core/telemetry_csv.h"
#include "core/telemetry_store.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace halvoren {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

WallTime at(seconds::rep epoch, milliseconds::rep extra = 0) {
    return WallTime{seconds{epoch} + milliseconds{extra}};
}

TEST(RingBuffer, KeepsTheNewestOldestFirstAcrossWrapsAndCountsEveryAppend) {
    const struct {
        std::size_t capacity;
        int appended;
        std::vector<double> kept;
    } rows[] = {
        {3, 0, {}},          {3, 2, {1, 2}}, {3, 3, {1, 2, 3}}, {3, 4, {2, 3, 4}},
        {3, 10, {8, 9, 10}}, {1, 5, {5}},    {0, 4, {}},
    };
    for (const auto& row : rows) {
        RingBuffer ring(row.capacity);
        for (int v = 1; v <= row.appended; ++v) {
            ring.append(v);
        }
        EXPECT_EQ(ring.samples(), row.kept) << row.capacity << " after " << row.appended;
        EXPECT_EQ(ring.totalAppended(), row.appended);
    }
}

TEST(TelemetryStore, TheSixtyFirstSampleDropsTheOldestOfAllFiveSeriesTogether) {
    TelemetryStore store;
    EXPECT_TRUE(store.history().empty());
    for (int i = 0; i <= 60; ++i) {
        store.record(40.0 + i, 1000.0 + i, 10.0 + i, 0.5, at(1'000 + i));
    }
    const auto history = store.history();
    ASSERT_EQ(history.size(), 60u);
    EXPECT_EQ(history.front(), (HistorySample{at(1'001), 41, 1001, 11, 0.5}));
    EXPECT_EQ(history.back(), (HistorySample{at(1'060), 100, 1060, 70, 0.5}));
    EXPECT_EQ(store.maxTemp().totalAppended(), 61);
}

TEST(TelemetryCSV, HeaderThenOneFormattedLinePerSample) {
    EXPECT_EQ(telemetryCSV({}), "timestamp,maxTempC,fanRPM,systemWatts,fanWatts\n");
    const std::vector<HistorySample> samples{
        {at(1'773'065'133), 61.25, 2150, 18.4, 1.32},
        // Seconds are cut, not rounded; "%.0f" takes an exact half to even.
        {at(1'773'065'133, 999), 61.255, 2150.5, -0.001, 2.5 / 64},
        {at(-1, 500), nan, 0, 0, 0}, // before 1970 the second below is the earlier one
    };
    EXPECT_EQ(telemetryCSV(samples), "timestamp,maxTempC,fanRPM,systemWatts,fanWatts\n"
                                     "2026-03-09T14:05:33Z,61.25,2150,18.40,1.32\n"
                                     "2026-03-09T14:05:33Z,61.26,2150,-0.00,0.04\n"
                                     "1969-12-31T23:59:59Z,nan,0,0.00,0.00\n");
}

TEST(TelemetryCSV, ExportNameHoldsTheEpochSecondsTruncatedTowardZero) {
    EXPECT_EQ(historyExportFileName(at(1'773'065'133, 900)), "Halvoren-History-1773065133.csv");
    EXPECT_EQ(historyExportFileName(at(0)), "Halvoren-History-0.csv");
    EXPECT_EQ(historyExportFileName(at(-1, -500)), "Halvoren-History--1.csv");
}

} // namespace
} // namespace halvoren
