#include "platform/quit_program.h"

#if !defined(__linux__)
namespace halvoren {

std::vector<int> ownProcessesNamed(const std::string& /*name*/, unsigned /*uid*/,
                                   const std::filesystem::path& /*procRoot*/) {
    return {};
}

int askApplicationToQuit(const std::string& /*name*/) {
    return 0;
}

} // namespace halvoren
#endif
