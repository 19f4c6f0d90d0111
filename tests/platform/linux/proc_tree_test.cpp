// Everything that reads a /proc tree: application names and their watcher, the program list,
// and per-process CPU times.

#include "platform/linux/application_identity.h"
#include "platform/linux/proc_application_watcher.h"
#include "platform/linux/proc_cpu_times.h"
#include "platform/quit_program.h"
#include "platform/running_programs.h"

#include <QTemporaryDir>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <unistd.h>
#include <utility>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

std::string statText(int pid, const std::string& comm, std::uint64_t utime, std::uint64_t stime,
                     int ppid = 1) {
    return std::to_string(pid) + " (" + comm + ") S " + std::to_string(ppid) +
           " 1 1 0 -1 4194560 100 0 0 0 " + std::to_string(utime) + " " + std::to_string(stime) +
           " 0 0 20 0 1 0 123 0 0\n";
}

struct FakeProcess {
    int pid;
    std::string exe;    // the link's target; empty: unreadable
    std::string cgroup; // the file's text; empty: unreadable
    std::string comm{}; // empty: the executable's name
    int ppid = 1;
    bool hasCommandLine = true;
    unsigned uid = 1000;
    std::uint64_t utime = 0;
    std::uint64_t stime = 0;
};

std::string appSlice(const std::string& unit) {
    return "0::/user.slice/user-1000.slice/user@1000.service/app.slice/" + unit + "\n";
}

// A /proc tree of its own for each test.
class ProcTree {
public:
    std::string root() const { return dir_.path().toStdString(); }
    fs::path processDir(int pid) const { return fs::path(root()) / std::to_string(pid); }

    void add(const FakeProcess& process) const {
        const fs::path dir = processDir(process.pid);
        fs::create_directories(dir);
        if (!process.exe.empty()) {
            fs::create_symlink(process.exe, dir / "exe");
        }
        const std::string comm =
            process.comm.empty() ? fs::path(process.exe).filename().string() : process.comm;
        std::ofstream(dir / "comm") << comm << '\n';
        std::ofstream(dir / "stat") << statText(process.pid, comm, process.utime, process.stime,
                                                process.ppid);
        std::ofstream(dir / "status")
            << "Name:\t" << comm << "\nUid:\t" << process.uid << '\t' << process.uid << "\n";
        std::ofstream(dir / "cmdline") << (process.hasCommandLine ? comm + '\0' : "");
        if (!process.cgroup.empty()) {
            std::ofstream(dir / "cgroup") << process.cgroup;
        }
    }
    void remove(int pid) const { fs::remove_all(processDir(pid)); }
    // A file of its own, in place of what add() wrote or under a name that is no process.
    void write(const std::string& file, const std::string& text) const {
        fs::create_directories((fs::path(root()) / file).parent_path());
        std::ofstream(fs::path(root()) / file) << text;
    }

private:
    QTemporaryDir dir_;
};

TEST(ProcApplicationWatcher, NamesAProcessByItsDesktopUnitElseByItsExecutable) {
    const struct {
        FakeProcess process;
        std::optional<std::string> id;
    } rows[] = {
        {{10, "/usr/bin/evince", appSlice("app-gnome-org.gnome.Evince-12345.scope")}, "org.gnome.Evince"},
        {{10, "/usr/bin/okular", appSlice("app-org.kde.okular-a1b2c3.scope")}, "org.kde.okular"},
        {{10, "/usr/bin/okular", appSlice("app-KDE-org.kde.okular@12345.scope")}, "org.kde.okular"},
        {{10, "/usr/bin/blender", appSlice("app-gnome-blender.service")}, "blender"},
        {{10, "/usr/libexec/evolution-alarm-notify",
          appSlice("app-org.gnome.Evolution\\x2dalarm\\x2dnotify@autostart.service")},
         "org.gnome.Evolution-alarm-notify"},
        {{10, "/usr/lib/firefox-esr/firefox-esr", appSlice("app-gnome-firefox\\x2desr-4242.scope")},
         "firefox-esr"},
        {{10, "/app/blender/blender", appSlice("app-flatpak-org.blender.Blender-98765.scope")},
         "org.blender.Blender"},
        {{10, "/app/bin/tool", appSlice("app-flatpak-io.github.some-tool-7.scope")}, "io.github.some-tool"},
        // The systemd hierarchy of a legacy or hybrid setup.
        {{10, "/usr/bin/evince",
          "12:pids:/user.slice\n1:name=systemd:/user.slice/app.slice/app-gnome-org.gnome.Evince-1.scope\n"},
         "org.gnome.Evince"},
        // Not application units: the executable names the process.
        {{10, "/usr/bin/blender", "0::/user.slice/user-1000.slice/session-2.scope\n"}, "blender"},
        {{10, "/usr/bin/blender", appSlice("app-gnome.scope")}, "blender"},
        {{10, "/usr/bin/blender", appSlice("app-gnome--1.scope")}, "blender"},
        {{10, "/opt/resolve/bin/resolve (deleted)", ""}, "resolve"},
        {{10, "/usr/lib/systemd/systemd-resolved", "", "systemd-resolve"}, "systemd-resolved"},
        // Another user's process: its executable cannot be read, its name can.
        {{10, "", "0::/system.slice/colord.service\n", "colord"}, "colord"},
        // A kernel thread has neither executable nor command line.
        {{10, "", "0::/\n", "kworker/0:1", 2, false}, std::nullopt},
    };
    // One tree, each row a process of its own.
    ProcTree tree;
    int pid = 10;
    for (auto row : rows) {
        row.process.pid = ++pid;
        tree.add(row.process);
        EXPECT_EQ(processApplicationID(tree.root(), pid), row.id)
            << row.process.exe << " in " << row.process.cgroup;
    }
}

TEST(ProcApplicationWatcher, WhatAnApplicationStartsInItsUnitIsNamedByItsOwnExecutable) {
    ProcTree tree;
    const std::string unit = appSlice("app-gnome-xterm-5.scope");
    tree.add({20, "/usr/bin/xterm", unit, "", 1});
    tree.add({21, "/usr/bin/bash", unit, "", 20});
    tree.add({22, "/usr/bin/blender", unit, "", 21});
    tree.add({23, "/usr/bin/xterm", unit, "", 20}); // a second window: the same program
    tree.add({24, "/usr/bin/bash", appSlice("app-gnome-org.gnome.Terminal-6.scope"), "", 20});
    // In a sandbox everything is the application.
    tree.add({30, "/usr/bin/bwrap", appSlice("app-flatpak-org.gimp.GIMP-7.scope"), "", 1});
    tree.add({31, "/app/bin/gimp-2.10", appSlice("app-flatpak-org.gimp.GIMP-7.scope"), "", 30});
    ManualClock clock;
    ManualTimerSource timers(clock);
    EXPECT_EQ(ProcApplicationWatcher(timers, tree.root()).runningApplicationIDs(),
              (std::vector<std::string>{"bash", "blender", "org.gimp.GIMP", "org.gnome.Terminal", "xterm"}));
}

class ProcApplicationWatcherNotices : public ::testing::Test {
protected:
    void startRecording() {
        watcher.start({.launched = [this](const std::string& id) { notices.push_back("+" + id); },
                       .terminated = [this](const std::string& id) { notices.push_back("-" + id); }});
    }
    std::vector<std::string> take() { return std::exchange(notices, {}); }

    ProcTree tree;
    ManualClock clock;
    ManualTimerSource timers{clock};
    ProcApplicationWatcher watcher{timers, tree.root()};
    std::vector<std::string> notices;
};

TEST_F(ProcApplicationWatcherNotices, OneIdentifierLastsUntilItsLastProcessEnds) {
    tree.add({100, "/usr/bin/blender", appSlice("app-gnome-blender-1.scope")});
    tree.add({101, "/usr/bin/blender", appSlice("app-gnome-blender-1.scope"), "", 100});
    EXPECT_EQ(watcher.runningApplicationIDs(), std::vector<std::string>{"blender"});
    startRecording();

    // The first two end in the poll that names the third: no change.
    tree.add({102, "/usr/bin/blender", "0::/user.slice/user-1000.slice/session-2.scope\n"});
    timers.advance(2.0);
    tree.remove(100);
    tree.remove(101);
    timers.advance(2.0);
    EXPECT_EQ(take(), std::vector<std::string>{});
    tree.remove(102);
    timers.advance(2.0);
    EXPECT_EQ(take(), std::vector<std::string>{"-blender"});
}

TEST_F(ProcApplicationWatcherNotices, ANewProcessIsNamedWhenItHasSurvivedOnePoll) {
    startRecording();
    tree.add({300, "/usr/bin/bash", ""}); // forked, not yet exec'd
    timers.advance(3.5);
    EXPECT_EQ(take(), std::vector<std::string>{});
    fs::remove(tree.processDir(300) / "exe");
    fs::create_symlink("/usr/bin/blender", tree.processDir(300) / "exe");
    timers.advance(0.5);
    EXPECT_EQ(take(), std::vector<std::string>{"+blender"}); // the second poll, 4 s in
    EXPECT_EQ(timers.pendingCount(), 1U);

    // Gone before its second poll: never named, never announced.
    tree.add({301, "/usr/bin/make", ""});
    timers.advance(2.0);
    tree.remove(301);
    timers.advance(2.0);
    EXPECT_EQ(take(), std::vector<std::string>{});
}

TEST_F(ProcApplicationWatcherNotices, AnUnchangedTaskCounterSparesTheListing) {
    startRecording();
    tree.write("loadavg", "0.10 0.20 0.30 1/80 500\n");
    timers.advance(2.0);
    // No new pid was given out and no task ended, by the counter: the listing is not read.
    tree.add({501, "/usr/bin/blender", ""});
    timers.advance(4.0);
    EXPECT_EQ(take(), std::vector<std::string>{});
    // Counters that say nothing (unreadable, or not the kernel's shape) never spare it.
    for (const char* loadavg : {"0.10 0.20 0.30 2/81 501\n", "garbage", "0.1 0.2 0.3 1/80 500"}) {
        tree.write("loadavg", loadavg);
        timers.advance(4.0);
    }
    EXPECT_EQ(take(), std::vector<std::string>{"+blender"});
    tree.remove(501);
    tree.write("loadavg", "0.10 0.20 0.30 1/80 501\n");
    timers.advance(2.0);
    EXPECT_EQ(take(), std::vector<std::string>{"-blender"});
}

TEST_F(ProcApplicationWatcherNotices, NoNoticeReachesAStoppedOrReplacedReceiver) {
    tree.add({500, "/usr/bin/blender", ""});
    tree.add({501, "/opt/resolve/bin/resolve", ""});
    watcher.runningApplicationIDs();
    int stale = 0;
    watcher.start({.launched = [&](const std::string&) { ++stale; }, .terminated = {}});
    watcher.start({.launched = {}, .terminated = [this](const std::string& id) {
                       notices.push_back("-" + id);
                       watcher.stop(); // the other termination of this poll is not told
                   }});
    tree.remove(500);
    tree.remove(501);
    tree.add({502, "/usr/bin/gimp", ""});
    timers.advance(2.0);
    EXPECT_EQ(take(), std::vector<std::string>{"-blender"});
    EXPECT_EQ(timers.pendingCount(), 0U);
    timers.advance(10.0);
    EXPECT_EQ(stale, 0);
    EXPECT_EQ(watcher.runningApplicationIDs(), std::vector<std::string>{"gimp"});
}

TEST(ProcessList, RunningProgramsAreProcessNamesAndQuitFindsTheUsersOwnProcesses) {
    ProcTree tree;
    tree.add({1, "", "", "systemd", 1, true, 0});
    tree.add({100, "", "", "blender"});
    tree.add({101, "", "", "blender", 1, true, 1001});  // another user's
    tree.add({102, "/usr/bin/blender", "", "python3"}); // known by its executable
    tree.add({103, "", "", "blend"});                   // a name that merely starts alike
    tree.write("104/comm", "blender\n");                // ended before its status was read
    fs::create_directories(tree.processDir(1200));      // ended before its name was read
    tree.write("1300/comm", "");
    tree.write("self/comm", "notaprocess\n");

    EXPECT_EQ(runningProgramIdentifiers(tree.root()),
              (std::set<std::string>{"blend", "blender", "python3", "systemd"}));
    EXPECT_TRUE(runningProgramIdentifiers(tree.processDir(9)).empty());
    // The real process table lists at least this test.
    EXPECT_FALSE(runningProgramIdentifiers().empty());

    EXPECT_EQ(ownProcessesNamed("blender", 1000, tree.root()), (std::vector<int>{100, 102}));
    EXPECT_EQ(ownProcessesNamed("blender", 1001, tree.root()), (std::vector<int>{101}));
    EXPECT_TRUE(ownProcessesNamed("", 1000, tree.root()).empty());
    EXPECT_TRUE(ownProcessesNamed("blender", 1000, tree.processDir(9)).empty());
    EXPECT_EQ(askApplicationToQuit("no-such-program-here"), 0);
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
    const ProcTree tree;
    ProcCPUTimes reader(tree.root());
    std::vector<ProcessCPUTime> out{{99, {1, 1}}};
    EXPECT_FALSE(reader.readAll(out)); // no processes at all
    EXPECT_TRUE(out.empty());

    tree.add({12, "/usr/bin/editor", "", "", 1, true, 1000, 250, 50});
    tree.add({40, "/opt/browser/browser", "", "", 1, true, 1000, 1, 0});
    tree.add({41, "/usr/bin/gone", ""}); // ended between the listing and the read
    fs::remove(tree.processDir(41) / "stat");
    tree.add({42, "/usr/bin/broken", ""});
    tree.write("42/stat", "42 (broken) S"); // malformed
    tree.write("self/stat", statText(1, "self", 5, 5));

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
