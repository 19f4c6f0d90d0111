#include "platform/running_programs.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <system_error>

namespace halvoren {

std::set<std::string> runningProgramIdentifiers(const std::filesystem::path& procRoot) {
    std::set<std::string> names;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(procRoot, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string pid = it->path().filename().string();
        if (pid.empty() ||
            !std::all_of(pid.begin(), pid.end(), [](char c) { return c >= '0' && c <= '9'; })) {
            continue;
        }
        // A process may end between the listing and the read: skip what cannot be read.
        std::ifstream comm(it->path() / "comm");
        std::string name;
        if (comm && std::getline(comm, name) && !name.empty()) {
            names.insert(name);
        }
    }
    return names;
}

} // namespace halvoren
