#include "platform/linux/proc_cpu_times.h"

#include "platform/linux/application_identity.h"
#include "platform/linux/proc_files.h"

#include <array>
#include <charconv>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace halvoren {
namespace {

// Fields after the command's closing parenthesis: state is the first, utime the twelfth.
constexpr int utimeField = 12;

std::uint64_t ticksToNanoseconds(std::uint64_t ticks, std::uint64_t perSecond) {
    constexpr std::uint64_t nano = 1'000'000'000;
    return ticks / perSecond * nano + ticks % perSecond * nano / perSecond;
}

// Reads the whole of a small file owned by `uid` into `buffer`; its length, or -1.
ssize_t readOwnedFile(const char* path, uid_t uid, std::array<char, 1024>& buffer) {
    const int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return -1;
    }
    struct stat info {};
    ssize_t length = -1;
    if (fstat(fd, &info) == 0 && info.st_uid == uid) {
        length = read(fd, buffer.data(), buffer.size());
    }
    close(fd);
    return length;
}

} // namespace

std::optional<CPUTimes> parseProcStatTicks(std::string_view stat) {
    // The command may itself hold spaces and parentheses; the last ")" ends it.
    const std::size_t close = stat.rfind(')');
    if (close == std::string_view::npos) {
        return std::nullopt;
    }
    const char* at = stat.data() + close + 1;
    const char* const end = stat.data() + stat.size();
    std::array<std::uint64_t, 2> values{};
    for (int field = 1; field <= utimeField + 1; ++field) {
        while (at < end && *at == ' ') {
            ++at;
        }
        const char* const start = at;
        while (at < end && *at != ' ' && *at != '\n') {
            ++at;
        }
        if (start == at) {
            return std::nullopt;
        }
        if (field >= utimeField) {
            const auto [stop, error] = std::from_chars(start, at, values[field - utimeField]);
            if (error != std::errc{} || stop != at) {
                return std::nullopt;
            }
        }
    }
    return CPUTimes{values[0], values[1]};
}

ProcCPUTimes::ProcCPUTimes(std::string procRoot)
    : procRoot_(std::move(procRoot)) {
    const long ticks = sysconf(_SC_CLK_TCK);
    ticksPerSecond_ = ticks > 0 ? static_cast<std::uint64_t>(ticks) : 100;
}

bool ProcCPUTimes::readAll(std::vector<ProcessCPUTime>& out) {
    out.clear();
    const std::vector<int> pids = listProcessIDs(procRoot_);
    if (pids.empty()) {
        return false;
    }
    const uid_t uid = geteuid();
    std::array<char, 1024> buffer{};
    for (const int pid : pids) {
        path_ = procRoot_;
        path_ += '/';
        std::array<char, 16> digits{};
        path_.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), pid).ptr);
        path_ += "/stat";
        const ssize_t length = readOwnedFile(path_.c_str(), uid, buffer);
        if (length <= 0) {
            continue; // ended, or another user's
        }
        if (const auto ticks = parseProcStatTicks({buffer.data(), static_cast<std::size_t>(length)})) {
            out.push_back({pid,
                           {ticksToNanoseconds(ticks->user, ticksPerSecond_),
                            ticksToNanoseconds(ticks->system, ticksPerSecond_)}});
        }
    }
    return true;
}

std::optional<std::string> ProcCPUTimes::processName(std::int32_t pid) {
    return processApplicationID(procRoot_, pid);
}

std::shared_ptr<ProcessCPUTimes> systemProcessCPUTimes() {
    return std::make_shared<ProcCPUTimes>();
}

} // namespace halvoren
