#include "platform/host_cpu_load.h"

#include <fstream>
#include <string>

namespace halvoren {

std::optional<CpuTimes> hostCpuTimes() {
    std::ifstream file("/proc/stat");
    std::string line;
    if (!std::getline(file, line)) {
        return std::nullopt;
    }
    return parseProcStat(line);
}

} // namespace halvoren
