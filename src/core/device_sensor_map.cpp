#include "core/device_sensor_map.h"

#include "core/code_points.h"
#include "core/device_sensor_map_detail.h"
#include "core/sensor_selection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace halvoren::DeviceSensorMap {

namespace {

using SensorSelection::isLive;

constexpr std::size_t familyKeyLength = 4;

std::optional<double> liveValue(double reading) {
    return isLive(reading) ? std::optional<double>(reading) : std::nullopt;
}

struct Mean {
    double sum = 0.0;
    int count = 0;

    void add(double value) {
        sum += value;
        ++count;
    }
    void addPresent(std::span<const std::optional<double>> values) {
        for (const std::optional<double>& value : values) {
            if (value) {
                add(*value);
            }
        }
    }
    std::optional<double> value() const {
        return count == 0 ? std::nullopt : std::optional<double>(sum / count);
    }
};

std::optional<double> meanOfPresent(std::span<const std::optional<double>> values) {
    Mean mean;
    mean.addPresent(values);
    return mean.value();
}

std::optional<double> cpuMean(std::span<const std::optional<double>> performance,
                              std::span<const std::optional<double>> efficiency) {
    Mean mean;
    mean.addPresent(performance);
    mean.addPresent(efficiency);
    return mean.value();
}

std::optional<double> maxOfPresent(std::span<const std::optional<double>> values) {
    std::optional<double> best;
    for (const std::optional<double>& value : values) {
        if (value && (!best || *value > *best)) {
            best = value;
        }
    }
    return best;
}

std::vector<std::optional<double>> liveMaxOfFirstRuns(const detail::Runs& runs, int count) {
    const std::size_t taken = std::min(runs.size(), static_cast<std::size_t>(count));
    std::vector<std::optional<double>> result;
    result.reserve(taken);
    for (std::size_t i = 0; i < taken; ++i) {
        result.push_back(detail::liveMax(runs[i]));
    }
    return result;
}

// A byte loop rather than string_view::starts_with: the prefixes here are two or three
// bytes, and this runs for every sensor several times per refresh, where a memcmp call
// per sensor showed as the largest cost.
constexpr bool hasPrefix(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size()) {
        return false;
    }
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (text[i] != prefix[i]) {
            return false;
        }
    }
    return true;
}

bool isFamilyKey(std::string_view key, std::string_view prefix) {
    return hasPrefix(key, prefix) && codePointCount(key) == familyKeyLength;
}

// A four-byte key as one integer, so that matching a key against a table is one compare.
constexpr std::uint32_t packedKey(std::string_view key) {
    std::uint32_t code = 0;
    for (const char byte : key.substr(0, 4)) {
        code = (code << 8U) | static_cast<unsigned char>(byte);
    }
    return code;
}

// Rows that show one controller key as it is.
struct KeyRow {
    std::string_view key;
    std::string_view name;
    std::string_view symbol;
};

constexpr std::array<KeyRow, 7> keyRows{{
    {"TW0P", "Airport Proximity", "wifi"},
    {"TB0T", "Battery", "battery.100percent"},
    {"TB1T", "Battery Gas Gauge", "battery.100percent"},
    {"TPSP", "Power Supply Proximity", "powerplug.fill"},
    {"TDeL", "Thunderbolt Left Proximity", "bolt.horizontal.fill"},
    {"TDeR", "Thunderbolt Right Proximity", "bolt.horizontal.fill"},
    {"TH0x", "SSD", "internaldrive.fill"},
}};
constexpr std::size_t keyRowsBeforeCores = 3;
constexpr auto keyRowCodes = [] {
    std::array<std::uint32_t, keyRows.size()> codes{};
    for (std::size_t row = 0; row < keyRows.size(); ++row) {
        codes[row] = packedKey(keyRows[row].key);
    }
    return codes;
}();

// What one pass over the sensors finds for the rows that aren't family based.
struct SingleKeyScan {
    std::array<const SMCSensor*, keyRows.size()> first{}; // first sensor with each key row's key
    bool hasPowerManagerDie = false;
    Mean powerManagerDie; // live "TPD*" readings
};

SingleKeyScan scanSingleKeys(std::span<const SMCSensor> sensors) {
    SingleKeyScan scan;
    for (const SMCSensor& sensor : sensors) {
        const std::string_view key = sensor.key;
        if (hasPrefix(key, "TPD")) {
            scan.hasPowerManagerDie = true;
            if (isLive(sensor.currentTemp)) {
                scan.powerManagerDie.add(sensor.currentTemp);
            }
        }
        if (key.size() != 4) {
            continue;
        }
        const std::uint32_t code = packedKey(key);
        for (std::size_t row = 0; row < keyRows.size(); ++row) {
            if (scan.first[row] == nullptr && code == keyRowCodes[row]) {
                scan.first[row] = &sensor;
                break;
            }
        }
    }
    return scan;
}

DeviceSensorReading reading(std::string_view id, std::string_view name, std::string_view symbol,
                            std::optional<double> value) {
    return DeviceSensorReading{std::string(id), std::string(name), std::string(symbol), value};
}

void appendKeyRows(std::vector<DeviceSensorReading>& rows, const SingleKeyScan& scan, std::size_t from,
                   std::size_t to) {
    for (std::size_t row = from; row < to; ++row) {
        if (const SMCSensor* sensor = scan.first[row]) {
            rows.push_back(reading(keyRows[row].key, keyRows[row].name, keyRows[row].symbol,
                                   liveValue(sensor->currentTemp)));
        }
    }
}

// "<idPrefix><i>" and "<namePrefix><i + 1>" for each entry: ids count from 0, names from 1.
void appendNumberedRows(std::vector<DeviceSensorReading>& rows, std::span<const std::optional<double>> values,
                        std::string_view idPrefix, std::string_view namePrefix, std::string_view symbol) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        DeviceSensorReading row{std::string(idPrefix), std::string(namePrefix), std::string(symbol),
                                values[i]};
        row.id += std::to_string(i);
        row.name += std::to_string(i + 1);
        rows.push_back(std::move(row));
    }
}

} // namespace

namespace detail {

std::optional<int> suffixIndex(std::string_view suffix) {
    // Every alphabet character is one ASCII byte, so two characters from the alphabet are
    // exactly two bytes, and a non-ASCII byte is never in the table.
    if (suffix.size() != 2) {
        return std::nullopt;
    }
    const int first = suffixPositions[static_cast<unsigned char>(suffix[0])];
    const int second = suffixPositions[static_cast<unsigned char>(suffix[1])];
    if (first < 0 || second < 0) {
        return std::nullopt;
    }
    return first * static_cast<int>(suffixAlphabet.size()) + second;
}

std::optional<double> liveMax(std::span<const double> values) {
    std::optional<double> best;
    for (const double value : values) {
        if (isLive(value) && (!best || value > *best)) {
            best = value;
        }
    }
    return best;
}

Runs familyRuns(std::string_view prefix, std::optional<std::string_view> excluding,
                std::span<const SMCSensor> sensors) {
    struct Entry {
        int index;
        double value;
    };
    std::vector<Entry> entries;
    entries.reserve(sensors.size());
    for (const SMCSensor& sensor : sensors) {
        const std::string_view key = sensor.key;
        if (!isFamilyKey(key, prefix) || (excluding && hasPrefix(key, *excluding))) {
            continue;
        }
        // The suffix follows the two family letters, whatever the length of `prefix`.
        if (const std::optional<int> index = suffixIndex(dropCodePoints(key, 2))) {
            entries.push_back({*index, sensor.currentTemp});
        }
    }

    // Controllers list keys in order, so the sort is usually skipped.
    const auto byIndex = [](const Entry& a, const Entry& b) { return a.index < b.index; };
    if (!std::is_sorted(entries.begin(), entries.end(), byIndex)) {
        std::stable_sort(entries.begin(), entries.end(), byIndex);
    }

    Runs runs;
    runs.values.reserve(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        // One skipped index is enough to separate two units; duplicates stay together.
        if (i > 0 && entries[i].index >= entries[i - 1].index + 2) {
            runs.ends.push_back(i);
        }
        runs.values.push_back(entries[i].value);
    }
    if (!entries.empty()) {
        runs.ends.push_back(entries.size());
    }
    return runs;
}

std::vector<std::optional<double>> performanceCores(std::span<const SMCSensor> sensors, int count) {
    if (count < 1) {
        return {};
    }
    return liveMaxOfFirstRuns(familyRuns("Tp", std::nullopt, sensors), count);
}

std::vector<std::optional<double>> efficiencyCores(std::span<const SMCSensor> sensors, int count) {
    const auto isDirectKey = [](const SMCSensor& sensor) { return isFamilyKey(sensor.key, "Tex"); };
    const auto direct = std::count_if(sensors.begin(), sensors.end(), isDirectKey);
    if (direct == count) {
        std::vector<const SMCSensor*> cores;
        cores.reserve(static_cast<std::size_t>(direct));
        for (const SMCSensor& sensor : sensors) {
            if (isDirectKey(sensor)) {
                cores.push_back(&sensor);
            }
        }
        std::stable_sort(cores.begin(), cores.end(),
                         [](const SMCSensor* a, const SMCSensor* b) { return a->key < b->key; });
        std::vector<std::optional<double>> result;
        result.reserve(cores.size());
        for (const SMCSensor* core : cores) {
            result.push_back(liveValue(core->currentTemp));
        }
        return result;
    }
    if (count < 1) {
        return {};
    }
    return liveMaxOfFirstRuns(familyRuns("Te", "Tex", sensors), count);
}

std::vector<std::optional<double>> gpuClusters(std::span<const SMCSensor> sensors, int clusterCount) {
    if (clusterCount < 1) {
        return {};
    }
    const Runs lower = familyRuns("Tg", std::nullopt, sensors);
    const Runs upper = familyRuns("TG", std::nullopt, sensors);
    std::vector<std::optional<double>> units;
    units.reserve(lower.size() + upper.size());
    for (const Runs* runs : {&lower, &upper}) {
        for (std::size_t i = 0; i < runs->size(); ++i) {
            units.push_back(liveMax((*runs)[i]));
        }
    }
    const std::size_t n = units.size();
    if (static_cast<std::size_t>(clusterCount) >= n) {
        return units;
    }

    // More units than clusters: cut the units into `clusterCount` near-equal slices, each
    // at least one unit wide, and average each slice.
    std::vector<std::optional<double>> clusters;
    clusters.reserve(static_cast<std::size_t>(clusterCount));
    const double step = static_cast<double>(n) / clusterCount;
    for (int c = 0; c < clusterCount; ++c) {
        const auto start = static_cast<std::size_t>(std::floor(step * c));
        const auto end =
            std::min(std::max(start + 1, static_cast<std::size_t>(std::floor(step * (c + 1)))), n);
        clusters.push_back(meanOfPresent(std::span(units).subspan(start, end - start)));
    }
    return clusters;
}

bool hasCategorySensors(SensorCategory category, std::span<const SMCSensor> sensors) {
    return std::any_of(sensors.begin(), sensors.end(), [category](const SMCSensor& sensor) {
        return sensor.category == category && sensor.sensorClass == SensorClass::temperature;
    });
}

std::optional<double> genericAggregate(SensorCategory category, std::span<const SMCSensor> sensors) {
    Mean mean;
    for (const SMCSensor& sensor : sensors) {
        if (sensor.category == category && sensor.sensorClass == SensorClass::temperature &&
            isLive(sensor.currentTemp)) {
            mean.add(sensor.currentTemp);
        }
    }
    return mean.value();
}

} // namespace detail

std::vector<DeviceSensorReading> fixedList(std::span<const SMCSensor> sensors, CoreCounts counts) {
    const SingleKeyScan scan = scanSingleKeys(sensors);
    const auto efficiency = detail::efficiencyCores(sensors, counts.efficiency);
    const auto performance = detail::performanceCores(sensors, counts.performance);
    const auto clusters = detail::gpuClusters(sensors, detail::gpuClusterCount);

    std::vector<DeviceSensorReading> rows;
    rows.reserve(keyRows.size() + 4 + efficiency.size() + performance.size() + clusters.size());

    appendKeyRows(rows, scan, 0, keyRowsBeforeCores);

    if (!performance.empty() || !efficiency.empty()) {
        rows.push_back(reading("cpu.avg", "CPU Core Average", "cpu.fill", cpuMean(performance, efficiency)));
    } else {
        if (detail::hasCategorySensors(SensorCategory::cpu, sensors)) {
            rows.push_back(reading("cpu.generic", "CPU", "cpu.fill",
                                   detail::genericAggregate(SensorCategory::cpu, sensors)));
        }
        // Independent of the cluster rows below, which may appear as well.
        if (detail::hasCategorySensors(SensorCategory::gpu, sensors)) {
            rows.push_back(reading("gpu.generic", "GPU", "memorychip",
                                   detail::genericAggregate(SensorCategory::gpu, sensors)));
        }
    }

    appendNumberedRows(rows, efficiency, "eff.", "CPU Efficiency Core ", "cpu");
    appendNumberedRows(rows, performance, "perf.", "CPU Performance Core ", "cpu");
    if (!clusters.empty()) {
        appendNumberedRows(rows, clusters, "gpu.", "GPU Cluster ", "memorychip");
        rows.push_back(reading("gpu.avg", "GPU Cluster Average", "memorychip", meanOfPresent(clusters)));
    }

    if (scan.hasPowerManagerDie) {
        rows.push_back(
            reading("pwr.die", "Power Manager Die Average", "bolt.fill", scan.powerManagerDie.value()));
    }

    appendKeyRows(rows, scan, keyRowsBeforeCores, keyRows.size());
    return rows;
}

std::optional<double> aggregate(ControlSource source, std::span<const SMCSensor> sensors, CoreCounts counts,
                                const SensorSelection::ReadingHistory& history) {
    switch (source) {
    case ControlSource::hottest:
        return SensorSelection::trustedMaxTemperature(sensors, history);
    case ControlSource::cpuAverage: {
        const auto performance = detail::performanceCores(sensors, counts.performance);
        const auto efficiency = detail::efficiencyCores(sensors, counts.efficiency);
        if (performance.empty() && efficiency.empty()) {
            return detail::genericAggregate(SensorCategory::cpu, sensors);
        }
        return cpuMean(performance, efficiency);
    }
    case ControlSource::cpuPerformance:
        return maxOfPresent(detail::performanceCores(sensors, counts.performance));
    case ControlSource::cpuEfficiency:
        return maxOfPresent(detail::efficiencyCores(sensors, counts.efficiency));
    case ControlSource::gpuAverage: {
        const auto clusters = detail::gpuClusters(sensors, detail::gpuClusterCount);
        if (clusters.empty()) {
            return detail::genericAggregate(SensorCategory::gpu, sensors);
        }
        return meanOfPresent(clusters);
    }
    }
    return std::nullopt;
}

} // namespace halvoren::DeviceSensorMap
