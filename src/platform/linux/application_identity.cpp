#include "platform/linux/application_identity.h"

#include "core/hex_digit.h"
#include "platform/linux/proc_files.h"

#include <charconv>
#include <string_view>

namespace halvoren {
namespace {

struct AppUnit {
    std::string launcher;
    std::string id;
};

// Unit names escape bytes as "\xNN"; desktop ids use it for their dashes ("firefox\x2desr").
std::string unescapeUnitText(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && i + 3 < text.size() && text[i + 1] == 'x') {
            const int high = hexDigitValue(text[i + 2]);
            const int low = hexDigitValue(text[i + 3]);
            if (high >= 0 && low >= 0) {
                out += static_cast<char>(high * 16 + low);
                i += 3;
                continue;
            }
        }
        out += text[i];
    }
    return out;
}

// The launcher and desktop id of an application unit's name, by the desktop environments'
// convention: "app-", an optional launcher without dashes, the escaped desktop id, and a random
// part after "-" (scopes) or "@" (both kinds; optional for services).
std::optional<AppUnit> parseAppUnit(std::string_view unit) {
    bool scope = false;
    if (unit.ends_with(".scope")) {
        scope = true;
        unit.remove_suffix(std::string_view(".scope").size());
    } else if (unit.ends_with(".service")) {
        unit.remove_suffix(std::string_view(".service").size());
    } else {
        return std::nullopt;
    }
    if (!unit.starts_with("app-")) {
        return std::nullopt;
    }
    unit.remove_prefix(std::string_view("app-").size());
    if (const auto at = unit.find('@'); at != std::string_view::npos) {
        unit = unit.substr(0, at);
    } else if (scope) {
        const auto dash = unit.rfind('-');
        if (dash == std::string_view::npos) {
            return std::nullopt;
        }
        unit = unit.substr(0, dash);
    }
    // With a launcher, the rest is the id, dashes and all: Flatpak writes its ids unescaped.
    AppUnit result;
    if (const auto dash = unit.find('-'); dash != std::string_view::npos) {
        result.launcher = unit.substr(0, dash);
        unit.remove_prefix(dash + 1);
    }
    result.id = unescapeUnitText(unit);
    if (result.id.empty()) {
        return std::nullopt;
    }
    return result;
}

// The process's cgroup from /proc/<pid>/cgroup: the unified hierarchy's ("0::/user.slice/..."),
// else systemd's own on a legacy or hybrid setup ("1:name=systemd:/user.slice/...").
std::string cgroupPath(const std::string& text) {
    constexpr std::string_view systemdHierarchy = "name=systemd:";
    std::string_view rest = text;
    std::string_view legacy;
    while (!rest.empty()) {
        const auto end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (line.starts_with("0::")) {
            return std::string(line.substr(3));
        }
        if (const auto colon = line.find(':');
            colon != std::string_view::npos && line.substr(colon + 1).starts_with(systemdHierarchy)) {
            legacy = line.substr(colon + 1 + systemdHierarchy.size());
        }
    }
    return std::string(legacy);
}

std::string_view lastComponent(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

// The executable's file name. The link of an executable replaced on disk since it started (an
// upgrade) ends in " (deleted)".
std::string executableName(std::string_view link) {
    constexpr std::string_view deleted = " (deleted)";
    if (link.ends_with(deleted)) {
        link.remove_suffix(deleted.size());
    }
    return std::string(lastComponent(link));
}

// What a process runs, for telling programs apart: the executable's path, else its name.
std::string programOf(const std::string& dir) {
    std::string exe = readProcLink(dir + "exe");
    return exe.empty() ? readProcessName(dir) : exe;
}

int parentPID(const std::string& dir) {
    // "<pid> (<name>) <state> <ppid> ...": the name may hold spaces and parentheses.
    const std::string stat = readProcFile(dir + "stat", 1024);
    const auto close = stat.rfind(')');
    if (close == std::string::npos || close + 4 >= stat.size()) {
        return 0;
    }
    const char* first = stat.data() + close + 4; // past ") S "
    int ppid = 0;
    const auto [end, error] = std::from_chars(first, stat.data() + stat.size(), ppid);
    return error == std::errc() && end != first ? ppid : 0;
}

// A unit holds the program it was started for and whatever that program starts: a terminal's
// shells and what they run, an editor's compilers. A process is the unit's own program when its
// parent is outside the unit (the launcher started it) or runs the same program (a browser's or
// renderer's worker processes).
bool isUnitsOwnProgram(const std::string& procRoot, const std::string& dir, const std::string& cgroup,
                       const std::string& program) {
    const int parent = parentPID(dir);
    if (parent <= 0) {
        return true;
    }
    const std::string parentDir = processDirectory(procRoot, parent);
    if (cgroupPath(readProcFile(parentDir + "cgroup")) != cgroup) {
        return true;
    }
    return programOf(parentDir) == program;
}

} // namespace

std::optional<std::string> processApplicationID(const std::string& procRoot, int pid) {
    const std::string dir = processDirectory(procRoot, pid);
    // The executable's name rather than the process name: that one is cut to 15 bytes and a
    // program may rename itself or its workers. Another user's executable cannot be read; its
    // process name stands in. Kernel threads and ended processes have neither an executable nor
    // a command line.
    const std::string exe = readProcLink(dir + "exe");
    std::string program = exe;
    if (exe.empty()) {
        if (readProcFile(dir + "cmdline", 1).empty()) {
            return std::nullopt;
        }
        program = readProcessName(dir);
        if (program.empty()) {
            return std::nullopt;
        }
    }
    const std::string cgroup = cgroupPath(readProcFile(dir + "cgroup"));
    if (auto unit = parseAppUnit(lastComponent(cgroup))) {
        // Everything in a Flatpak sandbox is the application, whatever starts what inside.
        if (unit->launcher == "flatpak" || isUnitsOwnProgram(procRoot, dir, cgroup, program)) {
            return std::move(unit->id);
        }
    }
    return exe.empty() ? program : executableName(exe);
}

} // namespace halvoren
