#include "platform/core_counts.h"

#include <cstddef>
#include <cstdint>
#include <sys/sysctl.h>
#include <sys/types.h>

namespace halvoren {
namespace {

// A 32-bit count from the kernel, 0 when the name is unknown or the call fails.
int physicalCores(const char* name) {
    std::int32_t value = 0;
    std::size_t size = sizeof(value);
    if (sysctlbyname(name, &value, &size, nullptr, 0) != 0 || size != sizeof(value) || value < 0) {
        return 0;
    }
    return static_cast<int>(value);
}

} // namespace

DeviceSensorMap::CoreCounts hostCoreCounts(const std::filesystem::path& /*sysfsRoot*/) {
    // Level 0 is the fastest kind of core, level 1 the next; a processor of one kind has no level 1.
    return {physicalCores("hw.perflevel0.physicalcpu"), physicalCores("hw.perflevel1.physicalcpu")};
}

} // namespace halvoren
