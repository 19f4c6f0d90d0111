#include "core/heat_attribution.h"

#include "core/json_support.h"
#include "core/thermal_almanac.h"

#include <algorithm>
#include <cmath>

namespace halvoren {
namespace {

constexpr std::string_view heatFilePrefix = "heat-";
constexpr std::string_view heatFileExtension = ".json";

std::uint64_t counterDelta(std::uint64_t now, std::uint64_t before) {
    return now > before ? now - before : 0;
}

// Exactly `count` decimal digits at `at`.
std::optional<unsigned> digits(std::string_view text, std::size_t at, std::size_t count) {
    unsigned value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<unsigned>(text[i] - '0');
    }
    return value;
}

// "yyyy-MM-dd", a real date of the Gregorian calendar.
std::optional<std::chrono::local_days> parseDay(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-') {
        return std::nullopt;
    }
    const auto year = digits(text, 0, 4);
    const auto month = digits(text, 5, 2);
    const auto day = digits(text, 8, 2);
    if (!year || !month || !day) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{static_cast<int>(*year)},
                                           std::chrono::month{*month}, std::chrono::day{*day}};
    if (!date.ok()) {
        return std::nullopt;
    }
    return std::chrono::local_days{date};
}

} // namespace

std::string_view stripHelperSuffix(std::string_view name) {
    for (const std::string_view suffix : helperSuffixes) {
        if (name.ends_with(suffix)) {
            name.remove_suffix(suffix.size());
            break;
        }
    }
    return name;
}

namespace {

bool byPid(const ProcessCPUTime& a, const ProcessCPUTime& b) {
    return a.pid < b.pid;
}

} // namespace

bool CPUTimeBaselines::contains(std::int32_t pid) const {
    return std::binary_search(last_.begin(), last_.end(), ProcessCPUTime{pid, {}}, byPid);
}

void CPUTimeBaselines::advance(std::span<const ProcessCPUTime> readings, std::vector<ProcessCPUDelta>& out) {
    out.clear();
    next_.clear();
    for (const ProcessCPUTime& reading : readings) {
        if (reading.pid < 1) {
            continue;
        }
        next_.push_back(reading);
        const auto before = std::lower_bound(last_.begin(), last_.end(), reading, byPid);
        if (before == last_.end() || before->pid != reading.pid) {
            continue;
        }
        const std::uint64_t nanoseconds = counterDelta(reading.times.user, before->times.user) +
                                          counterDelta(reading.times.system, before->times.system);
        const double seconds = static_cast<double>(nanoseconds) / 1e9;
        if (seconds > 0.0) {
            out.push_back({reading.pid, seconds});
        }
    }
    // The system lists pids in order already; a list that is not is sorted once here.
    if (!std::is_sorted(next_.begin(), next_.end(), byPid)) {
        std::stable_sort(next_.begin(), next_.end(), byPid);
    }
    std::swap(last_, next_);
}

std::vector<HeatSource> aggregateHeat(std::span<const std::pair<std::string_view, double>> entries) {
    std::map<std::string_view, double> sums;
    for (const auto& [name, seconds] : entries) {
        if (seconds > 0.0) {
            sums[name] += seconds;
        }
    }
    double total = 0.0;
    std::vector<std::pair<std::string_view, double>> ranked;
    ranked.reserve(sums.size());
    for (const auto& entry : sums) {
        total += entry.second;
        ranked.emplace_back(entry);
    }
    std::vector<HeatSource> rows;
    if (!(total > 0.0)) {
        return rows;
    }
    const std::size_t kept = std::min(ranked.size(), heatListLength);
    std::partial_sort(ranked.begin(), ranked.begin() + static_cast<std::ptrdiff_t>(kept), ranked.end(),
                      [](const auto& a, const auto& b) { return a.second > b.second; });
    rows.reserve(kept);
    for (std::size_t i = 0; i < kept; ++i) {
        rows.push_back({std::string(ranked[i].first), ranked[i].second / total, ranked[i].second, 0});
    }
    return rows;
}

bool tallyHeat(std::span<const HeatDelta> deltas, HeatTotals& totals, HeatSnapshot& snapshot) {
    std::map<std::string_view, std::int32_t> pids; // the first process of each name
    std::map<std::string_view, double> sums;
    std::vector<std::pair<std::string_view, double>> live;
    live.reserve(deltas.size());
    for (const HeatDelta& delta : deltas) {
        pids.try_emplace(delta.name, delta.pid);
        sums[delta.name] += delta.seconds;
        live.emplace_back(delta.name, delta.seconds);
    }
    for (const auto& [name, seconds] : sums) {
        auto at = totals.find(name);
        if (at == totals.end()) {
            at = totals.emplace(std::string(name), 0.0).first;
        }
        at->second += seconds;
    }
    std::vector<std::pair<std::string_view, double>> daily(totals.begin(), totals.end());
    snapshot.live = aggregateHeat(live);
    snapshot.daily = aggregateHeat(daily);
    for (auto* list : {&snapshot.live, &snapshot.daily}) {
        for (HeatSource& row : *list) {
            const auto pid = pids.find(row.name);
            row.pid = pid == pids.end() ? 0 : pid->second;
        }
    }
    return !deltas.empty();
}

std::string heatFileName(std::chrono::local_days day) {
    std::string name(heatFilePrefix);
    name += ThermalAlmanac::dayKey(day);
    name += heatFileExtension;
    return name;
}

std::optional<std::chrono::local_days> heatFileDay(std::string_view fileName) {
    if (!fileName.starts_with(heatFilePrefix) || !fileName.ends_with(heatFileExtension)) {
        return std::nullopt;
    }
    fileName.remove_prefix(heatFilePrefix.size());
    fileName.remove_suffix(heatFileExtension.size());
    return parseDay(fileName);
}

bool isStaleHeatFile(std::string_view fileName, std::chrono::local_seconds now) {
    const auto day = heatFileDay(fileName);
    return day && std::chrono::local_seconds{*day} < now - std::chrono::days{heatFileRetentionDays};
}

std::optional<std::string> encodeHeatTotals(const HeatTotals& totals) {
    try {
        Json object = Json::object();
        for (const auto& [name, seconds] : totals) {
            object[name] = json::finite(seconds);
        }
        return Json{{"totals", std::move(object)}}.dump();
    } catch (const EncodeError&) {
        return std::nullopt;
    } catch (const nlohmann::json::exception&) { // a name that is not UTF-8
        return std::nullopt;
    }
}

std::optional<HeatTotals> decodeHeatTotals(std::string_view text) {
    try {
        const Json root = json::parse(text);
        HeatTotals totals;
        for (const auto& [name, value] :
             json::requireObject(json::requireKey(root, "totals"), "totals").items()) {
            totals[name] = json::asDouble(value, "totals");
        }
        return totals;
    } catch (const DecodeError&) {
        return std::nullopt;
    }
}

} // namespace halvoren
