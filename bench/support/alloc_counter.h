#pragma once

#include <cstdint>

namespace halvoren::bench {

// Heap allocations made by the whole process so far, counted by the replaced global
// operator new of this benchmark program.
std::uint64_t allocationCount();

} // namespace halvoren::bench
