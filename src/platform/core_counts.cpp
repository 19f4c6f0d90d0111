#include "platform/core_counts.h"

// Linux and macOS define this in their own folders; elsewhere no split is known.
#if !defined(__linux__) && !defined(__APPLE__)
namespace halvoren {

DeviceSensorMap::CoreCounts hostCoreCounts(const std::filesystem::path& /*sysfsRoot*/) {
    return {};
}

} // namespace halvoren
#endif
