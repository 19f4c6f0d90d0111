#include "platform/linux/proc_files.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace halvoren {
namespace {

// A pid directory's name: digits only, within int.
bool parsePID(const char* name, int& pid) {
    long value = 0;
    if (*name == '\0') {
        return false;
    }
    for (const char* c = name; *c != '\0'; ++c) {
        if (*c < '0' || *c > '9') {
            return false;
        }
        value = value * 10 + (*c - '0');
        if (value > INT_MAX) {
            return false;
        }
    }
    pid = static_cast<int>(value);
    return true;
}

} // namespace

std::optional<TaskCounter> readTaskCounter(const std::string& procRoot) {
    // "0.20 0.18 0.12 1/80 11206": three loads, running/total tasks, the last pid.
    const std::string text = readProcFile(procRoot + "/loadavg", 256);
    const std::size_t slash = text.find('/');
    if (slash == std::string::npos) {
        return std::nullopt;
    }
    TaskCounter counter;
    const char* end = text.data() + text.size();
    const auto tasks = std::from_chars(text.data() + slash + 1, end, counter.tasks);
    if (tasks.ec != std::errc{} || tasks.ptr == end || *tasks.ptr != ' ') {
        return std::nullopt;
    }
    const auto last = std::from_chars(tasks.ptr + 1, end, counter.lastPid);
    if (last.ec != std::errc{}) {
        return std::nullopt;
    }
    return counter;
}

std::vector<int> listProcessIDs(const std::string& procRoot) {
    std::vector<int> pids;
    DIR* dir = opendir(procRoot.c_str());
    if (dir == nullptr) {
        return pids;
    }
    // readdir is unsafe only on a stream shared between threads; this one is the call's own.
    while (const dirent* entry = readdir(dir)) { // NOLINT(concurrency-mt-unsafe)
        int pid = 0;
        if (parsePID(entry->d_name, pid)) {
            pids.push_back(pid);
        }
    }
    closedir(dir);
    // The kernel lists pids in order already; a directory standing in for /proc may not.
    if (!std::is_sorted(pids.begin(), pids.end())) {
        std::sort(pids.begin(), pids.end());
    }
    return pids;
}

std::string readProcFile(const std::string& path, std::size_t limit) {
    std::string text;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return text;
    }
    std::array<char, 4096> buffer{};
    while (text.size() < limit) {
        const ssize_t got = read(fd, buffer.data(), std::min(buffer.size(), limit - text.size()));
        if (got <= 0) {
            break;
        }
        text.append(buffer.data(), static_cast<std::size_t>(got));
    }
    close(fd);
    return text;
}

std::string readProcLink(const std::string& path) {
    std::array<char, PATH_MAX> buffer{};
    const ssize_t length = readlink(path.c_str(), buffer.data(), buffer.size());
    if (length <= 0 || static_cast<std::size_t>(length) >= buffer.size()) {
        return {};
    }
    return {buffer.data(), static_cast<std::size_t>(length)};
}

std::string readProcessName(const std::string& processDir) {
    std::string name = readProcFile(processDir + "comm", 256);
    if (!name.empty() && name.back() == '\n') {
        name.pop_back();
    }
    return name;
}

std::string processDirectory(const std::string& procRoot, int pid) {
    std::string dir = procRoot;
    dir += '/';
    dir += std::to_string(pid);
    dir += '/';
    return dir;
}

} // namespace halvoren
