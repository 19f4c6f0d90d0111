#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace halvoren {

// How the platform names its running programs: process names on Linux (each
// /proc/<pid>/comm under `procRoot`), the running applications' bundle identifiers on macOS.
// Elsewhere, nothing.
std::set<std::string> runningProgramIdentifiers(const std::filesystem::path& procRoot = "/proc");

} // namespace halvoren
