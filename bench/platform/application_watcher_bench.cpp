// The cost of watching the running applications on this machine's real /proc: the poll that runs
// every two seconds, when nothing changed and when a process started, and the first listing.
#include "platform/linux/proc_application_watcher.h"
#include "platform/linux/proc_files.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace halvoren {
namespace {

struct RealProc {
    ManualClock clock;
    ManualTimerSource timers{clock};
    ProcApplicationWatcher watcher{timers};
};

void countProcesses(benchmark::State& state) {
    state.counters["processes"] = static_cast<double>(listProcessIDs("/proc").size());
}

// A process that waits to be killed.
pid_t spawnIdleChild() {
    const pid_t pid = fork();
    if (pid == 0) {
        pause();
        _exit(0);
    }
    return pid;
}

void reap(pid_t pid) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void BM_PollNothingChanged(benchmark::State& state) {
    RealProc proc;
    proc.watcher.runningApplicationIDs();
    for (auto _ : state) {
        proc.watcher.poll();
    }
    countProcesses(state);
}

// One new process costs two polls: the one that finds it (listing and merge) and the next,
// which names it (its executable, cgroup and, in an application's unit, its parent's).
void BM_PollFindingANewProcess(benchmark::State& state) {
    RealProc proc;
    proc.watcher.runningApplicationIDs();
    for (auto _ : state) {
        const pid_t child = spawnIdleChild();
        const auto start = std::chrono::steady_clock::now();
        proc.watcher.poll();
        state.SetIterationTime(secondsSince(start));
        proc.watcher.poll();
        reap(child);
        proc.watcher.poll();
    }
    countProcesses(state);
}

void BM_PollNamingANewProcess(benchmark::State& state) {
    RealProc proc;
    proc.watcher.runningApplicationIDs();
    for (auto _ : state) {
        const pid_t child = spawnIdleChild();
        proc.watcher.poll();
        const auto start = std::chrono::steady_clock::now();
        proc.watcher.poll();
        state.SetIterationTime(secondsSince(start));
        reap(child);
        proc.watcher.poll();
    }
    countProcesses(state);
}

// What the engine's start pays once: every process named.
void BM_FirstListing(benchmark::State& state) {
    for (auto _ : state) {
        RealProc proc;
        benchmark::DoNotOptimize(proc.watcher.runningApplicationIDs());
    }
    countProcesses(state);
}

constexpr int repetitions = 10;

BENCHMARK(BM_PollNothingChanged)->Unit(benchmark::kMicrosecond)->Repetitions(repetitions);
BENCHMARK(BM_PollFindingANewProcess)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->Iterations(200)
    ->Repetitions(repetitions);
BENCHMARK(BM_PollNamingANewProcess)
    ->Unit(benchmark::kMicrosecond)
    ->UseManualTime()
    ->Iterations(200)
    ->Repetitions(repetitions);
BENCHMARK(BM_FirstListing)->Unit(benchmark::kMicrosecond)->Repetitions(repetitions);

} // namespace
} // namespace halvoren

BENCHMARK_MAIN();
