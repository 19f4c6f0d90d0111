// One heat sample over a fake /proc tree of 500 of the user's processes, as the engine takes it
// every minute (every five seconds while the power panel is on screen): every stat file read,
// the busy processes named and stripped, both lists ranked, the day's file kept. The argument is
// how many of the 500 used CPU time since the last sample.
#include "alloc_counter.h"
#include "engine/heat_attribution_sampler.h"
#include "platform/linux/proc_cpu_times.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

constexpr int processCount = 500;
constexpr int firstPid = 1000;
constexpr int applicationCount = 40;

class FakeProc {
public:
    FakeProc() {
        for (int i = 0; i < processCount; ++i) {
            const int pid = firstPid + i;
            const fs::path dir = root() / std::to_string(pid);
            fs::create_directories(dir);
            const std::string app = "app" + std::to_string(i % applicationCount);
            fs::create_symlink("/usr/bin/" + app + (i % 3 == 0 ? " Helper (Renderer)" : ""), dir / "exe");
            std::ofstream(dir / "cmdline") << app << '\0';
            std::ofstream(dir / "cgroup") << "0::/user.slice/user-1000.slice/session-2.scope\n";
            writeStat(pid, 0);
        }
    }

    fs::path root() const { return fs::path(dir_.path().toStdString()) / "proc"; }
    QString dataDirectory() const { return dir_.filePath(QStringLiteral("data")); }

    void writeStat(int pid, std::uint64_t ticks) const {
        std::ofstream(root() / std::to_string(pid) / "stat")
            << pid << " (app) S 1 1 1 0 -1 4194560 100 0 0 0 " << ticks << ' ' << ticks / 2
            << " 0 0 20 0 1 0 123 0 0\n";
    }

private:
    QTemporaryDir dir_;
};

void BM_HeatSample(benchmark::State& state) {
    const FakeProc proc;
    HeatAttributionSampler sampler(std::make_shared<ProcCPUTimes>(proc.root().string()),
                                   proc.dataDirectory());
    const auto busy = static_cast<int>(state.range(0));
    const auto wallStart = std::chrono::system_clock::time_point{std::chrono::seconds{1'773'090'000}};
    const auto localStart =
        std::chrono::local_seconds{std::chrono::local_days{std::chrono::year{2026} / 3 / 9}} +
        std::chrono::hours{10};
    std::int64_t sample = 0;
    const auto sampleOnce = [&] {
        // Five seconds apart, the visible cadence: the day's file is rewritten every twelfth.
        const std::chrono::seconds offset{5 * sample++};
        return sampler.sampleNow(wallStart + offset, localStart + offset);
    };
    sampleOnce(); // the baselines
    std::uint64_t allocations = 0;
    std::uint64_t ticks = 0;
    for (auto _ : state) {
        state.PauseTiming();
        ++ticks;
        for (int i = 0; i < busy; ++i) {
            proc.writeStat(firstPid + i, ticks);
        }
        state.ResumeTiming();
        const std::uint64_t before = bench::allocationCount();
        benchmark::DoNotOptimize(sampleOnce());
        allocations += bench::allocationCount() - before;
    }
    state.counters["allocs_per_sample"] =
        benchmark::Counter(static_cast<double>(allocations) / static_cast<double>(state.iterations()));
    state.counters["processes"] = processCount;
}
BENCHMARK(BM_HeatSample)
    ->Arg(0)
    ->Arg(50)
    ->Arg(500)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->DisplayAggregatesOnly(true);

} // namespace
} // namespace halvoren

BENCHMARK_MAIN();
