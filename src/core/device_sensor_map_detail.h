#pragma once

// The steps shared by DeviceSensorMap::fixedList and DeviceSensorMap::aggregate.

#include "core/sensor.h"

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace halvoren::DeviceSensorMap::detail {

// Die-sensor key suffixes count in this order, which defines which suffixes are adjacent.
inline constexpr std::string_view suffixAlphabet =
    "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

// Position in `suffixAlphabet` of every byte, -1 for bytes outside it.
inline constexpr std::array<signed char, 256> suffixPositions = [] {
    std::array<signed char, 256> table{};
    table.fill(-1);
    for (std::size_t i = 0; i < suffixAlphabet.size(); ++i) {
        table[static_cast<unsigned char>(suffixAlphabet[i])] = static_cast<signed char>(i);
    }
    return table;
}();

inline constexpr int gpuClusterCount = 5;

// Readings grouped into runs of adjacent suffixes, stored flat: run i holds
// values[ends[i - 1] .. ends[i]), the first run starting at 0.
struct Runs {
    std::vector<double> values;
    std::vector<std::size_t> ends;

    std::size_t size() const { return ends.size(); }
    bool empty() const { return ends.empty(); }
    std::span<const double> operator[](std::size_t i) const {
        const std::size_t begin = i == 0 ? 0 : ends[i - 1];
        return std::span<const double>(values).subspan(begin, ends[i] - begin);
    }
};

// first × 62 + second, for exactly two alphabet characters; none otherwise.
std::optional<int> suffixIndex(std::string_view suffix);

// The largest live value (above the active-silicon floor), or none.
std::optional<double> liveMax(std::span<const double> values);

// The four-character keys of a family (`prefix`, minus keys that begin with `excluding`),
// sorted by suffix index and split wherever an index is skipped: one run per core or cluster.
Runs familyRuns(std::string_view prefix, std::optional<std::string_view> excluding,
                std::span<const SMCSensor> sensors);

// The hottest live reading of each of the first `count` "Tp" runs; empty when `count` < 1.
std::vector<std::optional<double>> performanceCores(std::span<const SMCSensor> sensors, int count);

// One "Tex" key per core when their number is `count`, else the first `count` runs of the
// "Te" family without the "Tex" keys.
std::vector<std::optional<double>> efficiencyCores(std::span<const SMCSensor> sensors, int count);

// The "Tg" then "TG" runs, merged down to `clusterCount` slices by mean when there are more.
std::vector<std::optional<double>> gpuClusters(std::span<const SMCSensor> sensors, int clusterCount);

bool hasCategorySensors(SensorCategory category, std::span<const SMCSensor> sensors);

// The mean of the live temperatures of `category`, or none.
std::optional<double> genericAggregate(SensorCategory category, std::span<const SMCSensor> sensors);

} // namespace halvoren::DeviceSensorMap::detail
