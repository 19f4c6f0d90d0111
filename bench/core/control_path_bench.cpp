// The per-tick control path, timed per call, with the heap allocations each call makes.
// The loop runs ten times a second per fan under control, so every one must be zero.

#include "alloc_counter.h"
#include "core/control_pipeline.h"
#include "core/fan_profile.h"
#include "core/slew_limiter.h"
#include "core/target_deadband.h"
#include "core/write_policy.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace halvoren {
namespace {

// Inputs cycle through a fixed table so the compiler cannot fold the calls and the
// branches see a realistic mix (below, inside and above the curve, rising and falling).
constexpr std::size_t inputCount = 64;

constexpr std::array<double, inputCount> makeTemperatures() {
    std::array<double, inputCount> temps{};
    for (std::size_t i = 0; i < inputCount; ++i) {
        const double phase = static_cast<double>(i < inputCount / 2 ? i : inputCount - i);
        temps[i] = 30.0 + phase * 2.0; // 30 to 94 degrees and back
    }
    return temps;
}

constexpr std::array<double, inputCount> temperatures = makeTemperatures();

constexpr std::array<double, inputCount> makeFractions() {
    std::array<double, inputCount> fractions{};
    for (std::size_t i = 0; i < inputCount; ++i) {
        fractions[i] = (temperatures[i] - 30.0) / 64.0;
    }
    return fractions;
}

constexpr std::array<double, inputCount> fractions = makeFractions();

struct Fan {
    double minRPM;
    double maxRPM;
};

constexpr std::array<Fan, 2> fans{{{1200.0, 6000.0}, {1300.0, 6500.0}}};
constexpr double tickSeconds = 0.1;
constexpr double spoolRate = 900.0;

ControlPipeline standardPipeline() {
    ControlPipeline pipeline{FanCurve(FanProfile::halvorenStandard().curvePoints), EMAFilter(0.3)};
    pipeline.proactiveFloor = 0.1;
    return pipeline;
}

// Reports heap allocations per iteration, measured across the timed loop only.
class AllocationScope {
public:
    explicit AllocationScope(benchmark::State& state)
        : state_(state)
        , start_(bench::allocationCount()) {}
    AllocationScope(const AllocationScope&) = delete;
    AllocationScope& operator=(const AllocationScope&) = delete;
    ~AllocationScope() {
        const auto made = static_cast<double>(bench::allocationCount() - start_);
        state_.counters["allocs_per_call"] = benchmark::Counter(made, benchmark::Counter::kAvgIterations);
    }

private:
    benchmark::State& state_;
    std::uint64_t start_;
};

void BM_TargetPercentage(benchmark::State& state) {
    auto pipeline = standardPipeline();
    std::size_t i = 0;
    const AllocationScope scope(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(pipeline.targetPercentage(temperatures[i]));
        i = (i + 1) % inputCount;
    }
}
BENCHMARK(BM_TargetPercentage);

void BM_PercentageToRPM(benchmark::State& state) {
    std::size_t i = 0;
    const AllocationScope scope(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(ControlPipeline::percentageToRPM(fractions[i], 1200.0, 6000.0));
        i = (i + 1) % inputCount;
    }
}
BENCHMARK(BM_PercentageToRPM);

void BM_Commit(benchmark::State& state) {
    TargetDeadband deadband;
    std::size_t i = 0;
    const AllocationScope scope(state);
    for (auto _ : state) {
        benchmark::DoNotOptimize(deadband.commit(1200.0 + fractions[i] * 4800.0));
        i = (i + 1) % inputCount;
    }
}
BENCHMARK(BM_Commit);

void BM_Step(benchmark::State& state) {
    const SlewLimiter limiter{spoolRate};
    double current = 1200.0;
    std::size_t i = 0;
    const AllocationScope scope(state);
    for (auto _ : state) {
        current = limiter.step(current, 1200.0 + fractions[i] * 4800.0, tickSeconds);
        benchmark::DoNotOptimize(current);
        i = (i + 1) % inputCount;
    }
}
BENCHMARK(BM_Step);

void BM_Vet(benchmark::State& state) {
    std::size_t i = 0;
    const AllocationScope scope(state);
    for (auto _ : state) {
        auto verdict = WritePolicy::vet(1000.0 + fractions[i] * 5500.0, 1200.0, 6000.0);
        benchmark::DoNotOptimize(verdict);
        i = (i + 1) % inputCount;
    }
}
BENCHMARK(BM_Vet);

// One control tick as the engine runs it for two fans: one curve evaluation, then per fan
// the RPM mapping, the deadband, the ramp and the write check.
void BM_TickForTwoFans(benchmark::State& state) {
    auto pipeline = standardPipeline();
    const SlewLimiter limiter{spoolRate};
    std::array<TargetDeadband, 2> deadbands{};
    std::array<double, 2> ramped{1200.0, 1300.0};
    std::size_t i = 0;
    const AllocationScope scope(state);
    for (auto _ : state) {
        const double percentage = pipeline.targetPercentage(temperatures[i]);
        for (std::size_t fan = 0; fan < fans.size(); ++fan) {
            const double desired =
                ControlPipeline::percentageToRPM(percentage, fans[fan].minRPM, fans[fan].maxRPM);
            const double committed = deadbands[fan].commit(desired);
            ramped[fan] = limiter.step(ramped[fan], committed, tickSeconds);
            auto verdict = WritePolicy::vet(ramped[fan], fans[fan].minRPM, fans[fan].maxRPM);
            benchmark::DoNotOptimize(verdict);
        }
        i = (i + 1) % inputCount;
    }
}
BENCHMARK(BM_TickForTwoFans);

// Calibration: one heap allocation per iteration must read as 1, which shows that the
// zeros above are measured rather than a counter that never moves.
void BM_CounterCalibration(benchmark::State& state) {
    const AllocationScope scope(state);
    for (auto _ : state) {
        auto box = std::make_unique<double>(1.0);
        benchmark::DoNotOptimize(box.get());
    }
}
BENCHMARK(BM_CounterCalibration);

} // namespace
} // namespace halvoren

BENCHMARK_MAIN();
