#pragma once

#include "platform/process_cpu_times.h"

#include <string>
#include <string_view>

namespace halvoren {

// Process CPU times from a /proc tree: utime and stime of each "<pid>/stat" owned by this user,
// in clock ticks; applications named as the running-applications watcher names them.
class ProcCPUTimes final : public ProcessCPUTimes {
public:
    explicit ProcCPUTimes(std::string procRoot = "/proc");

    bool readAll(std::vector<ProcessCPUTime>& out) override;
    std::optional<std::string> processName(std::int32_t pid) override;

private:
    std::string procRoot_;
    std::string path_; // reused between reads
    std::uint64_t ticksPerSecond_;
};

// The user and system times of a stat file's text, in clock ticks; none when it is malformed.
std::optional<CPUTimes> parseProcStatTicks(std::string_view stat);

} // namespace halvoren
