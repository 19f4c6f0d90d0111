#include "platform/linux/proc_files.h"
#include "platform/running_programs.h"

#include <utility>

namespace halvoren {

std::set<std::string> runningProgramIdentifiers(const std::filesystem::path& procRoot) {
    // The process name, not the executable: a fan daemon may be a script ("fancontrol"),
    // whose executable is its interpreter.
    std::set<std::string> names;
    const std::string root = procRoot.string();
    for (const int pid : listProcessIDs(root)) {
        std::string name = readProcessName(processDirectory(root, pid));
        if (!name.empty()) {
            names.insert(std::move(name));
        }
    }
    return names;
}

} // namespace halvoren
