#include "platform/process_cpu_times.h"

#include <algorithm>
#include <array>
#include <libproc.h>
#include <string_view>
#include <sys/resource.h>
#include <vector>

namespace halvoren {
namespace {

// libproc answers for the user's own processes without privilege; any other is skipped.
class LibprocCPUTimes final : public ProcessCPUTimes {
public:
    bool readAll(std::vector<ProcessCPUTime>& out) override {
        out.clear();
        const int first = proc_listallpids(nullptr, 0);
        if (first < 1) {
            return false;
        }
        // Read as a size in bytes, with a margin for processes started between the two calls.
        pids_.assign(static_cast<std::size_t>(first) / 4 + 32, 0);
        const int second = proc_listallpids(pids_.data(), static_cast<int>(pids_.size() * 4));
        if (second < 1) {
            return false;
        }
        const std::size_t count = std::min(static_cast<std::size_t>(second) / 4, pids_.size());
        for (std::size_t i = 0; i < count; ++i) {
            const pid_t pid = pids_[i];
            if (pid < 1) {
                continue;
            }
            rusage_info_v4 info{};
            if (proc_pid_rusage(pid, RUSAGE_INFO_V4, reinterpret_cast<rusage_info_t*>(&info)) != 0) {
                continue;
            }
            out.push_back({pid, {info.ri_user_time, info.ri_system_time}});
        }
        return true;
    }

    std::optional<std::string> processName(std::int32_t pid) override {
        std::array<char, 4096> path{};
        if (proc_pidpath(pid, path.data(), static_cast<std::uint32_t>(path.size())) >= 1) {
            const std::string_view full(path.data());
            const std::size_t slash = full.rfind('/');
            const std::string_view last = slash == std::string_view::npos ? full : full.substr(slash + 1);
            if (!last.empty()) {
                return std::string(last);
            }
        }
        std::array<char, 64> name{};
        if (proc_name(pid, name.data(), static_cast<std::uint32_t>(name.size())) >= 1) {
            return std::string(name.data());
        }
        return std::nullopt;
    }

private:
    std::vector<pid_t> pids_;
};

} // namespace

std::shared_ptr<ProcessCPUTimes> systemProcessCPUTimes() {
    return std::make_shared<LibprocCPUTimes>();
}

} // namespace halvoren
