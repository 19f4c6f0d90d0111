#include "platform/linux/application_identity.h"
#include "platform/linux/proc_files.h"
#include "platform/quit_program.h"

#include <csignal>
#include <optional>
#include <sstream>
#include <unistd.h>

namespace halvoren {

namespace {

// The real user id from "Uid:\t<real>\t<effective>...", or none when it cannot be read.
std::optional<unsigned> processOwner(const std::string& processDir) {
    std::istringstream status(readProcFile(processDir + "status"));
    std::string line;
    while (std::getline(status, line)) {
        if (line.starts_with("Uid:")) {
            std::istringstream fields(line.substr(4));
            unsigned uid = 0;
            if (fields >> uid) {
                return uid;
            }
            return std::nullopt;
        }
    }
    return std::nullopt;
}

bool belongsTo(const std::string& name, const std::string& procRoot, int pid) {
    const std::string dir = processDirectory(procRoot, pid);
    if (readProcessName(dir) == name) {
        return true;
    }
    const std::string executable = readProcLink(dir + "exe");
    if (!executable.empty() && std::filesystem::path(executable).filename() == name) {
        return true;
    }
    return processApplicationID(procRoot, pid) == name;
}

} // namespace

std::vector<int> ownProcessesNamed(const std::string& name, unsigned uid,
                                   const std::filesystem::path& procRoot) {
    std::vector<int> found;
    if (name.empty()) {
        return found;
    }
    const std::string root = procRoot.string();
    for (const int pid : listProcessIDs(root)) {
        if (processOwner(processDirectory(root, pid)) == uid && belongsTo(name, root, pid)) {
            found.push_back(pid);
        }
    }
    return found;
}

int askApplicationToQuit(const std::string& name) {
    int asked = 0;
    for (const int pid : ownProcessesNamed(name, ::getuid())) {
        if (pid != ::getpid() && ::kill(pid, SIGTERM) == 0) {
            ++asked;
        }
    }
    return asked;
}

} // namespace halvoren
