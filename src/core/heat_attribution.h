#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace halvoren {

// One row of a heat list: an application and its part of the CPU time of the list's period.
struct HeatSource {
    std::string name;      // after stripping of a helper suffix
    double cpuShare = 0.0; // 0 ... 1 of the CPU seconds of the list's whole population
    double cpuSeconds = 0.0;
    std::int32_t pid = 0; // a process of that name in the current sample, or 0

    friend bool operator==(const HeatSource&, const HeatSource&) = default;
};

// A sample's two lists.
struct HeatSnapshot {
    std::vector<HeatSource> live;  // the last sampling interval
    std::vector<HeatSource> daily; // the day so far

    friend bool operator==(const HeatSnapshot&, const HeatSnapshot&) = default;
};

// Cumulative CPU time of one process, in nanoseconds.
struct CPUTimes {
    std::uint64_t user = 0;
    std::uint64_t system = 0;
};

struct ProcessCPUTime {
    std::int32_t pid = 0;
    CPUTimes times;
};

struct ProcessCPUDelta {
    std::int32_t pid = 0;
    double seconds = 0.0;
};

// What one process used since the last sample, under its application's name.
struct HeatDelta {
    std::string name;
    double seconds = 0.0;
    std::int32_t pid = 0;
};

// Seconds per application name for one day.
using HeatTotals = std::map<std::string, double, std::less<>>;

// Tested in this order; at most one is removed.
inline constexpr std::array<std::string_view, 6> helperSuffixes{
    " Helper (Renderer)", " Helper (GPU)", " Helper (Plugin)", " Helper", " Web Content", " Networking",
};
inline constexpr std::size_t heatListLength = 8;
inline constexpr int heatFileRetentionDays = 7;

// "Browser Helper (Renderer)" -> "Browser": the first suffix the name ends with is removed.
std::string_view stripHelperSuffix(std::string_view name);

// The cumulative CPU times of each process at the previous sample. Two buffers used in turn, so
// a sample allocates nothing once they have grown to the number of processes.
class CPUTimeBaselines {
public:
    // The processes of `readings` that used CPU time since the previous call, in reading order,
    // into `out` (cleared first); the readings then become the baselines. A pid seen for the
    // first time is only a baseline, so a process's whole lifetime is never counted at once;
    // counters that went backwards (a reused pid) count as no time. Pids below 1 are ignored.
    void advance(std::span<const ProcessCPUTime> readings, std::vector<ProcessCPUDelta>& out);
    bool contains(std::int32_t pid) const;

private:
    std::vector<ProcessCPUTime> last_; // ascending by pid
    std::vector<ProcessCPUTime> next_;
};

// The ranked list of (name, seconds) pairs: seconds summed per name, non-positive ones ignored,
// the largest `heatListLength` kept, each share taken of the total before truncation (so the
// shares may add up to less than 1). Every `pid` is 0.
std::vector<HeatSource> aggregateHeat(std::span<const std::pair<std::string_view, double>> entries);

// One sample's bookkeeping: adds the deltas to `totals` per name and builds both lists, with
// each row's pid from the first delta of its name (0 when not running now). Returns whether
// any name was added to `totals`.
bool tallyHeat(std::span<const HeatDelta> deltas, HeatTotals& totals, HeatSnapshot& snapshot);

// "heat-2026-03-09.json".
std::string heatFileName(std::chrono::local_days day);
// The day of a file named like `heatFileName`; none for any other name.
std::optional<std::chrono::local_days> heatFileDay(std::string_view fileName);
// A heat file whose day began more than a week before `now`. Other names are never stale.
bool isStaleHeatFile(std::string_view fileName, std::chrono::local_seconds now);

// {"totals":{"Editor":412.7,"Browser":38.03}}; none when a total cannot be written (not finite,
// a name that is not UTF-8). Decoding gives none for anything but an object with such totals.
std::optional<std::string> encodeHeatTotals(const HeatTotals& totals);
std::optional<HeatTotals> decodeHeatTotals(std::string_view text);

} // namespace halvoren
