#pragma once

#include <optional>
#include <string>

namespace halvoren {

// The application a process of the /proc tree at `procRoot` belongs to: its desktop id when the
// desktop started it in a systemd unit of its own (`app-[<launcher>-]<desktop id>-<random>.scope`,
// `app-[<launcher>-]<desktop id>[@<random>].service`), the Flatpak id for everything in a Flatpak
// sandbox, else the name of its executable. None for kernel threads and ended processes.
std::optional<std::string> processApplicationID(const std::string& procRoot, int pid);

} // namespace halvoren
