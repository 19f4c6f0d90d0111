#pragma once

#include "platform/process_cpu_times.h"

#include <atomic>
#include <map>
#include <mutex>

namespace halvoren {

// Processes whose times and names the test sets; read from the sampler's worker thread.
class FakeProcessCPUTimes final : public ProcessCPUTimes {
public:
    std::atomic<int> reads{0};

    // Cumulative seconds of user time for `pid`, named `name`.
    void set(std::int32_t pid, std::string name, double userSeconds) {
        const std::lock_guard lock(mutex_);
        processes_[pid] = {std::move(name), static_cast<std::uint64_t>(userSeconds * 1e9)};
    }
    void remove(std::int32_t pid) {
        const std::lock_guard lock(mutex_);
        processes_.erase(pid);
    }

    bool readAll(std::vector<ProcessCPUTime>& out) override {
        const std::lock_guard lock(mutex_);
        ++reads;
        out.clear();
        for (const auto& [pid, process] : processes_) {
            out.push_back({pid, {process.user, 0}});
        }
        return !out.empty();
    }
    std::optional<std::string> processName(std::int32_t pid) override {
        const std::lock_guard lock(mutex_);
        const auto found = processes_.find(pid);
        return found == processes_.end() ? std::nullopt : std::optional(found->second.name);
    }

private:
    struct Process {
        std::string name;
        std::uint64_t user = 0;
    };
    std::mutex mutex_;
    std::map<std::int32_t, Process> processes_;
};

} // namespace halvoren
