#include "platform/linux/proc_cpu_times.h"

#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <unistd.h>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

std::string statText(int pid, const std::string& comm, std::uint64_t utime, std::uint64_t stime) {
    return std::to_string(pid) + " (" + comm + ") S 1 1 1 0 -1 4194560 100 0 0 0 " + std::to_string(utime) +
           " " + std::to_string(stime) + " 0 0 20 0 1 0 123 0 0\n";
}

TEST(ProcCPUTimes, ParsesUserAndSystemTicks) {
    const struct {
        std::string text;
        std::optional<std::pair<std::uint64_t, std::uint64_t>> ticks;
    } cases[] = {
        {statText(7, "editor", 250, 40), std::pair{250, 40}},
        {statText(7, "a) (b c", 3, 4), std::pair{3, 4}}, // the last ")" ends the command
        {statText(7, "x", 18446744073709551615ULL, 0), std::pair{18446744073709551615ULL, 0}},
        {"7 (x) S 1 1 1 0 -1 4194560 100 0 0 0 250", std::nullopt}, // cut before stime
        {"7 (x) S 1 1 1 0 -1 4194560 100 0 0 0 25a 4 0", std::nullopt},
        {"7 (x) S 1 1 1 0 -1 4194560 100 0 0 0 -5 4 0", std::nullopt},
        {"7 x S 1 1 1 0 -1 4194560 100 0 0 0 5 4 0", std::nullopt},
        {"", std::nullopt},
    };
    for (const auto& c : cases) {
        const auto got = parseProcStatTicks(c.text);
        ASSERT_EQ(got.has_value(), c.ticks.has_value()) << c.text;
        if (got) {
            EXPECT_EQ(got->user, c.ticks->first) << c.text;
            EXPECT_EQ(got->system, c.ticks->second) << c.text;
        }
    }
}

TEST(ProcCPUTimes, ReadsOwnProcessesOfATreeAndNamesThem) {
    const QTemporaryDir dir;
    const fs::path root = dir.path().toStdString();
    const auto add = [&](int pid, const std::string& exe, const std::string& stat) {
        fs::create_directories(root / std::to_string(pid));
        fs::create_symlink(exe, root / std::to_string(pid) / "exe");
        if (!stat.empty()) {
            std::ofstream(root / std::to_string(pid) / "stat") << stat;
        }
    };
    ProcCPUTimes reader(root.string());
    std::vector<ProcessCPUTime> out{{99, {1, 1}}};
    EXPECT_FALSE(reader.readAll(out)); // no processes at all
    EXPECT_TRUE(out.empty());

    add(12, "/usr/bin/editor", statText(12, "editor", 250, 50));
    add(40, "/opt/browser/browser", statText(40, "browser", 1, 0));
    add(41, "/usr/bin/gone", "");                // ended between the listing and the read
    add(42, "/usr/bin/broken", "42 (broken) S"); // malformed
    fs::create_directories(root / "self");

    ASSERT_TRUE(reader.readAll(out));
    const auto perSecond = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    const auto nanos = [&](std::uint64_t ticks) { return ticks * 1'000'000'000 / perSecond; };
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(out[0].pid, 12);
    EXPECT_EQ(out[0].times.user, nanos(250));
    EXPECT_EQ(out[0].times.system, nanos(50));
    EXPECT_EQ(out[1].pid, 40);
    EXPECT_EQ(out[1].times.user, nanos(1));

    EXPECT_EQ(reader.processName(12), "editor");
    EXPECT_EQ(reader.processName(40), "browser");
    EXPECT_EQ(reader.processName(77), std::nullopt);
}

} // namespace
} // namespace halvoren
