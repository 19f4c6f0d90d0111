#pragma once

#include "platform/application_watcher.h"
#include "platform/linux/proc_files.h"
#include "platform/timer_source.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace halvoren {

// Watches the applications of a /proc tree by polling its process list every `pollInterval` on
// the timer source. A poll that finds the same pids as the last one reads nothing per process.
// A new process is named at the first poll that finds it still there, so that it has left the
// gap between fork and exec and been moved into its application's unit, and a process that
// lives less than one interval costs nothing. Several processes of one application make one
// identifier, which terminates with the last of them. Not to be destroyed from inside a notice.
class ProcApplicationWatcher final : public ApplicationWatcher {
public:
    static constexpr double pollInterval = 2.0;

    explicit ProcApplicationWatcher(TimerSource& timers, std::string procRoot = "/proc");
    ~ProcApplicationWatcher() override;
    ProcApplicationWatcher(const ProcApplicationWatcher&) = delete;
    ProcApplicationWatcher& operator=(const ProcApplicationWatcher&) = delete;

    // Names every process not yet named, so the list is complete at once.
    std::vector<std::string> runningApplicationIDs() override;
    void start(Notices notices) override;
    void stop() override;

    // One poll, as the timer runs it; notices go out only while started.
    void poll();

private:
    struct Process {
        int pid = 0;
        bool named = false;
        std::string id; // empty: no application (a kernel thread), or not named yet
    };
    struct Changes {
        std::vector<std::string> launched;
        std::vector<std::string> terminated;
    };

    Changes update(bool nameEveryProcess);
    void name(Process& process, Changes& changes);
    void scheduleNextPoll();

    TimerSource& timers_;
    std::string procRoot_;
    std::vector<Process> processes_; // by ascending pid, as last listed
    std::size_t unnamed_ = 0;
    std::optional<TaskCounter> lastTasks_;    // as read before the last listing
    std::map<std::string, int> applications_; // id -> how many of its processes run
    Notices notices_;
    bool started_ = false;
    TimerHandle timer_;
};

} // namespace halvoren
