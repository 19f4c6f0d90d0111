#include "../../smc/temp_directory.h"
#include "platform/core_counts.h"

#include <gtest/gtest.h>

namespace halvoren {
namespace {

using CoreCounts = DeviceSensorMap::CoreCounts;
namespace fs = std::filesystem;

// A sysfs tree of its own for each test.
class CoreCountsTest : public ::testing::Test {
protected:
    fs::path root() const { return dir.path(); }
    static void write(const fs::path& path, const std::string& text) { testing::writeFile(path, text); }
    void cpus(int from, int to, const std::string& file, const std::string& text) const {
        for (int n = from; n <= to; ++n) {
            write(root() / "devices/system/cpu" / ("cpu" + std::to_string(n)) / file, text);
        }
    }
    // Compatible strings are lists of NUL-terminated strings.
    static std::string compatible(const std::string& kind) { return kind + '\0' + "arm,armv8" + '\0'; }

    testing::TempDirectory dir;
};

TEST_F(CoreCountsTest, CapacitiesSplitLargeFromSmallCores) {
    // An M1: four efficiency cores boot first, then four performance cores.
    write(root() / "devices/system/cpu/present", "0-7");
    cpus(0, 3, "cpu_capacity", "427");
    cpus(4, 7, "cpu_capacity", "1024");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{4, 4}));

    // Clusters of one kind may differ a little; a CPU not present is not counted.
    cpus(6, 7, "cpu_capacity", "1006");
    cpus(8, 9, "cpu_capacity", "1024");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{4, 4}));
    write(root() / "devices/system/cpu/present", "0-3,5,8-9");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{3, 4}));
}

TEST_F(CoreCountsTest, WithoutACapacitySplitTheCoreKindsDecide) {
    // An M2 Pro whose kernel gives every core the same capacity: 4 efficiency, 8 performance.
    write(root() / "devices/system/cpu/present", "0-11");
    cpus(0, 11, "cpu_capacity", "1024");
    cpus(0, 3, "of_node/compatible", compatible("apple,blizzard"));
    cpus(4, 11, "of_node/compatible", compatible("apple,avalanche"));
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{8, 4}));

    // The higher top frequency names the performance kind, whichever kind boots.
    cpus(0, 3, "cpufreq/cpuinfo_max_freq", "3504000");
    cpus(4, 11, "cpufreq/cpuinfo_max_freq", "2424000");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{4, 8}));

    // A third kind is no two-level split.
    cpus(11, 11, "of_node/compatible", compatible("apple,everest"));
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{0, 0}));
}

TEST_F(CoreCountsTest, TheDeviceTreeAloneIsEnough) {
    const fs::path cpusNode = root() / "firmware/devicetree/base/cpus";
    for (const char* node : {"cpu@0", "cpu@1"}) {
        write(cpusNode / node / "compatible", compatible("apple,sawtooth"));
    }
    for (const char* node : {"cpu@10100", "cpu@10101", "cpu@10102", "cpu@10103"}) {
        write(cpusNode / node / "compatible", compatible("apple,everest"));
    }
    write(cpusNode / "cpu@10103" / "status", std::string("disabled") + '\0'); // fused off
    write(cpusNode / "cpu@10102" / "status", std::string("okay") + '\0');
    write(cpusNode / "cpu-map" / "cluster0" / "core0" / "cpu", "x"); // not a core
    write(cpusNode / "l2-cache0" / "compatible", std::string("cache") + '\0');
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{3, 2}));
}

TEST_F(CoreCountsTest, UniformOrUnreadableProcessorsHaveNoSplit) {
    EXPECT_EQ(hostCoreCounts(root() / "absent"), (CoreCounts{0, 0}));

    // x86: CPUs with nothing to tell them apart, and no device tree.
    write(root() / "devices/system/cpu/present", "0-7");
    write(root() / "devices/system/cpu/online", "0-7");
    cpus(0, 7, "topology/core_id", "0");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{0, 0}));

    // Uniform ARM: one capacity, one kind.
    cpus(0, 7, "cpu_capacity", "1024");
    cpus(0, 7, "of_node/compatible", compatible("arm,cortex-a72"));
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{0, 0}));

    // A garbled capacity falls back to the kinds, and a garbled CPU list to every cpuN directory.
    cpus(0, 3, "of_node/compatible", compatible("arm,cortex-a53"));
    cpus(2, 2, "cpu_capacity", "many");
    write(root() / "devices/system/cpu/present", "3-1");
    EXPECT_EQ(hostCoreCounts(root()), (CoreCounts{4, 4}));
}

} // namespace
} // namespace halvoren
