#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace halvoren {

// The user `uid`'s own processes that belong to the application `name`: by the name the
// platform reports for it, its process name or its executable's file name. Another user's
// process never matches. On Linux read from the /proc tree at `procRoot`; elsewhere none.
std::vector<int> ownProcessesNamed(const std::string& name, unsigned uid,
                                   const std::filesystem::path& procRoot = "/proc");

// Asks the application `name`, as this user runs it, to quit (SIGTERM on Linux); the number of
// processes asked. This program itself is never among them.
int askApplicationToQuit(const std::string& name);

} // namespace halvoren
