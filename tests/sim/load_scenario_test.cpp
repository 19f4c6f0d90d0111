#include "../smc/smc_test_support.h"
#include "platform/host_cpu_load.h"
#include "sim/load_scenario.h"

#include <gtest/gtest.h>
#include <vector>

namespace halvoren {
namespace {

std::string scriptError(const std::string& text) {
    return thrownMessage<LoadScriptError>([&] { LoadScript::parse(text); });
}

TEST(LoadScript, InterpolatesBetweenPointsHoldsAtTheEndsAndStepsAtEqualTimes) {
    const auto script = LoadScript::parse("# warm-up\n"
                                          "10 0.0 0.2\n"
                                          "\n"
                                          "20\t1.0 0.4   # ramp\r\n"
                                          "30 1.0 0.4\n"
                                          "30 0.1 0.0\n");
    ASSERT_EQ(script.points().size(), 4u);
    EXPECT_EQ(script.at(0.0), (Load{0.0, 0.2}));
    EXPECT_EQ(script.at(10.0), (Load{0.0, 0.2}));
    EXPECT_NEAR(script.at(12.5).cpu, 0.25, 1e-12);
    EXPECT_NEAR(script.at(12.5).gpu, 0.25, 1e-12);
    EXPECT_EQ(script.at(29.999).cpu, 1.0);
    EXPECT_EQ(script.at(30.0), (Load{0.1, 0.0}));
    EXPECT_EQ(script.at(1e9), (Load{0.1, 0.0}));

    EXPECT_EQ(scriptError("0 0.5 0.5\n5 0.5\n"),
              "line 2: expected three numbers \"seconds cpu gpu\", found 2");
    EXPECT_EQ(scriptError("0 0.5 half\n"), "line 1: expected numbers \"seconds cpu gpu\"");
    EXPECT_EQ(scriptError("0 0.5 0.5x\n"), "line 1: expected numbers \"seconds cpu gpu\"");
    EXPECT_EQ(scriptError("5 0 0\n4 0 0\n"), "line 2: time 4.0 is before the previous point at 5.0");
    EXPECT_EQ(scriptError("0 1.5 0\n"), "line 1: cpu load 1.5 is outside 0...1");
    EXPECT_EQ(scriptError("0 0 -0.25\n"), "line 1: gpu load -0.25 is outside 0...1");
    EXPECT_EQ(scriptError("# nothing\n\n"), "the script has no points");
    EXPECT_EQ(scriptError("0 nan 0\n"), "line 1: expected numbers \"seconds cpu gpu\"");
}

TEST(LoadScenario, BuiltInShapes) {
    auto burst = burstLoad({.period = 10.0, .length = 2.0, .peak = {0.9, 0.3}});
    EXPECT_EQ(burst->at(0.0), (Load{0.9, 0.3}));
    EXPECT_EQ(burst->at(1.99), (Load{0.9, 0.3}));
    EXPECT_EQ(burst->at(2.0), idleLevel);
    EXPECT_EQ(burst->at(21.0), (Load{0.9, 0.3}));
    EXPECT_EQ(burst->at(29.0), idleLevel);

    for (const auto* name : {"idle", "burst", "sustained", "host"}) {
        EXPECT_NE(loadScenarioNamed(name), nullptr) << name;
    }
    EXPECT_EQ(loadScenarioNamed("turbo"), nullptr);
    EXPECT_EQ(loadScenarioNamed("sustained")->at(100.0), (Load{1.0, 0.5}));
}

TEST(HostLoad, FollowsTheHostsBusyShareSampledOncePerSecond) {
    std::vector<std::optional<CpuTimes>> samples{CpuTimes{100, 1000}, CpuTimes{175, 1100}, std::nullopt,
                                                 CpuTimes{175, 1100}, CpuTimes{200, 1200}};
    std::size_t calls = 0;
    auto host = hostLoad([&]() -> std::optional<CpuTimes> { return samples.at(calls++); });

    EXPECT_EQ(host->at(0.0), idleLevel); // one sample gives no share yet
    EXPECT_EQ(host->at(0.5), idleLevel);
    EXPECT_EQ(calls, 1u);
    const Load busy = host->at(1.0);
    EXPECT_DOUBLE_EQ(busy.cpu, 0.75);
    EXPECT_DOUBLE_EQ(busy.gpu, 0.15);
    EXPECT_EQ(host->at(2.0), busy); // a failed sample keeps the last share
    EXPECT_EQ(host->at(3.0), busy); // no time passed on the host: keep it too
    EXPECT_DOUBLE_EQ(host->at(4.0).cpu, 0.25);
    EXPECT_EQ(calls, 5u);
}

TEST(HostLoad, ParsesTheAggregateLineOfProcStat) {
    EXPECT_EQ(parseProcStat("cpu  10 2 8 70 5 1 2 2 4 0\ncpu0 1 1 1 1\n"), (CpuTimes{25, 100}));
    EXPECT_EQ(parseProcStat("cpu 1 2 3 4"), (CpuTimes{6, 10}));
    EXPECT_EQ(parseProcStat("cpu 1 2 3"), std::nullopt);
    EXPECT_EQ(parseProcStat("cpu0 1 2 3 4 5"), std::nullopt);
    EXPECT_EQ(parseProcStat("cpu 1 2 x 4 5"), std::nullopt);
    EXPECT_EQ(parseProcStat(""), std::nullopt);

    EXPECT_EQ(busyFraction({10, 100}, {10, 100}), std::nullopt);
    EXPECT_EQ(busyFraction({10, 100}, {5, 200}), std::nullopt);
    EXPECT_EQ(busyFraction({10, 100}, {60, 200}), 0.5);
}

} // namespace
} // namespace halvoren
