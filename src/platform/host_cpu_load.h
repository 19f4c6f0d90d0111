#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace halvoren {

// Cumulative processor time of the whole host since boot, in the OS's ticks. Only the
// difference between two samples means anything.
struct CpuTimes {
    std::uint64_t busy = 0;
    std::uint64_t total = 0;

    friend bool operator==(const CpuTimes&, const CpuTimes&) = default;
};

// A sample of the host's processor times, or none where the OS gives none (or the read fails).
std::optional<CpuTimes> hostCpuTimes();

// The aggregate "cpu" line of a Linux /proc/stat text. Waiting for I/O counts as idle;
// guest time is already inside user time and is not counted twice.
std::optional<CpuTimes> parseProcStat(std::string_view text);

// The busy share of the time between two samples, 0...1; none when no time passed or the
// counters went backwards.
std::optional<double> busyFraction(const CpuTimes& earlier, const CpuTimes& later);

} // namespace halvoren
