#pragma once

#include <filesystem>
#include <utility>
#include <vector>

namespace halvoren {

// Writes each (file, value) pair when the process dies of a fatal signal (SIGSEGV, SIGBUS,
// SIGILL, SIGFPE, SIGABRT), then lets the signal take its course. Only plain file writes are
// possible there, so this serves the sysfs writers; an empty list installs nothing.
void installCrashHandBack(const std::vector<std::pair<std::filesystem::path, long long>>& writes);

} // namespace halvoren
