#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace halvoren {

// The process ids listed under `procRoot` (a /proc tree), ascending; empty when it cannot be
// read. Only the directory is read, nothing per process.
std::vector<int> listProcessIDs(const std::string& procRoot);

// The end of loadavg: how many tasks exist and the last pid given out. While both stay the same
// no task began (each new process or thread takes a fresh pid) and none ended (the count would
// fall), so the pid directories are the ones listed before. None when it cannot be read.
struct TaskCounter {
    long tasks = 0;
    long lastPid = 0;
    friend bool operator==(const TaskCounter&, const TaskCounter&) = default;
};
std::optional<TaskCounter> readTaskCounter(const std::string& procRoot);

// Up to `limit` bytes of a file, empty when it cannot be read. A process may end between the
// listing and the read, so every read of /proc may fail and reads as nothing.
std::string readProcFile(const std::string& path, std::size_t limit = std::size_t{64} * 1024);

// The target of a symbolic link, empty when it cannot be read.
std::string readProcLink(const std::string& path);

// The process name of the process whose directory is `processDir` (its "comm": at most 15 bytes,
// and the program may change it), empty when it cannot be read.
std::string readProcessName(const std::string& processDir);

// "<procRoot>/<pid>/"
std::string processDirectory(const std::string& procRoot, int pid);

} // namespace halvoren
