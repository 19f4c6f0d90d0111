#include "platform/host_cpu_load.h"

#include <array>
#include <charconv>

namespace halvoren {

std::optional<CpuTimes> parseProcStat(std::string_view text) {
    constexpr std::string_view label = "cpu ";
    if (!text.starts_with(label)) {
        return std::nullopt;
    }
    const std::string_view line = text.substr(label.size(), text.find('\n') - label.size());
    // user nice system idle iowait irq softirq steal; guest fields follow and are ignored.
    std::array<std::uint64_t, 8> fields{};
    std::size_t count = 0;
    const char* cursor = line.data();
    const char* const end = line.data() + line.size();
    while (count < fields.size()) {
        while (cursor != end && *cursor == ' ') {
            ++cursor;
        }
        if (cursor == end) {
            break;
        }
        const auto [next, error] = std::from_chars(cursor, end, fields[count]);
        if (error != std::errc{}) {
            return std::nullopt;
        }
        cursor = next;
        ++count;
    }
    if (count < 4) {
        return std::nullopt;
    }
    const std::uint64_t idle = fields[3] + fields[4];
    std::uint64_t total = 0;
    for (const auto field : fields) {
        total += field;
    }
    return CpuTimes{total - idle, total};
}

std::optional<double> busyFraction(const CpuTimes& earlier, const CpuTimes& later) {
    if (later.total <= earlier.total || later.busy < earlier.busy) {
        return std::nullopt;
    }
    const auto busy = static_cast<double>(later.busy - earlier.busy);
    const auto total = static_cast<double>(later.total - earlier.total);
    return busy > total ? 1.0 : busy / total;
}

#if !defined(__linux__)
// No portable source of host processor times yet: callers treat the host as idle.
std::optional<CpuTimes> hostCpuTimes() {
    return std::nullopt;
}
#endif

} // namespace halvoren
