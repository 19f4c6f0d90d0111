#include "platform/linux/proc_application_watcher.h"

#include "platform/linux/application_identity.h"
#include "platform/linux/proc_files.h"

#include <algorithm>
#include <utility>

namespace halvoren {

ProcApplicationWatcher::ProcApplicationWatcher(TimerSource& timers, std::string procRoot)
    : timers_(timers)
    , procRoot_(std::move(procRoot)) {}

ProcApplicationWatcher::~ProcApplicationWatcher() {
    stop();
}

std::vector<std::string> ProcApplicationWatcher::runningApplicationIDs() {
    update(true);
    std::vector<std::string> ids;
    ids.reserve(applications_.size());
    for (const auto& entry : applications_) {
        ids.push_back(entry.first);
    }
    return ids;
}

void ProcApplicationWatcher::start(Notices notices) {
    notices_ = std::move(notices);
    if (!started_) {
        started_ = true;
        scheduleNextPoll();
    }
}

void ProcApplicationWatcher::stop() {
    started_ = false;
    timer_.cancel();
    notices_ = {};
}

void ProcApplicationWatcher::scheduleNextPoll() {
    timer_ = timers_.schedule(pollInterval, [this] {
        scheduleNextPoll();
        poll();
    });
}

void ProcApplicationWatcher::poll() {
    const Changes changes = update(false);
    // A notice may stop the watcher (which empties the notices) or start it with others: each
    // notice goes to a copy of the one in force when it is sent.
    for (const std::string& id : changes.terminated) {
        if (const auto notice = notices_.terminated) {
            notice(id);
        }
    }
    for (const std::string& id : changes.launched) {
        if (const auto notice = notices_.launched) {
            notice(id);
        }
    }
}

void ProcApplicationWatcher::name(Process& process, Changes& changes) {
    process.named = true;
    if (auto id = processApplicationID(procRoot_, process.pid)) {
        process.id = std::move(*id);
        if (++applications_[process.id] == 1) {
            changes.launched.push_back(process.id);
        }
    }
}

ProcApplicationWatcher::Changes ProcApplicationWatcher::update(bool nameEveryProcess) {
    Changes changes;
    // Listing the pid directories is most of a poll's cost; the task counter tells for a few
    // bytes whether the listing could differ.
    const std::optional<TaskCounter> tasks = readTaskCounter(procRoot_);
    if (unnamed_ == 0 && tasks && tasks == lastTasks_ && !nameEveryProcess) {
        return changes;
    }
    lastTasks_ = tasks;
    const std::vector<int> pids = listProcessIDs(procRoot_);
    if (unnamed_ == 0 && std::ranges::equal(pids, processes_, {}, {}, &Process::pid)) {
        return changes;
    }

    // Merge the new listing with the last one, both by ascending pid. Processes found again keep
    // their name; the ones found the last time and not named yet are named now.
    std::vector<Process> next;
    next.reserve(pids.size());
    std::vector<std::string> gone;
    auto old = processes_.begin();
    const auto takeGone = [&](Process& process) {
        if (!process.id.empty()) {
            gone.push_back(std::move(process.id));
        }
    };
    for (const int pid : pids) {
        for (; old != processes_.end() && old->pid < pid; ++old) {
            takeGone(*old);
        }
        const bool seenBefore = old != processes_.end() && old->pid == pid;
        Process process = seenBefore ? std::move(*old++) : Process{pid, false, {}};
        if (!process.named && (seenBefore || nameEveryProcess)) {
            name(process, changes);
        }
        next.push_back(std::move(process));
    }
    for (; old != processes_.end(); ++old) {
        takeGone(*old);
    }
    processes_ = std::move(next);
    unnamed_ = static_cast<std::size_t>(std::ranges::count(processes_, false, &Process::named));

    // After the newly named processes are counted, so that an application whose process ends in
    // the poll that names another of its processes goes on running.
    for (std::string& id : gone) {
        const auto it = applications_.find(id);
        if (it != applications_.end() && --it->second == 0) {
            applications_.erase(it);
            changes.terminated.push_back(std::move(id));
        }
    }
    return changes;
}

std::unique_ptr<ApplicationWatcher> systemApplicationWatcher(TimerSource& timers) {
    return std::make_unique<ProcApplicationWatcher>(timers);
}

} // namespace halvoren
