#include "platform/running_programs.h"

#if !defined(__linux__) && !defined(__APPLE__)
namespace halvoren {

std::set<std::string> runningProgramIdentifiers(const std::filesystem::path& /*procRoot*/) {
    return {};
}

} // namespace halvoren
#endif
