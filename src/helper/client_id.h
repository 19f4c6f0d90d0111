#pragma once

#include <cstdint>

namespace halvoren {

// One connection to the daemon, numbered in the order accepted and never reused while the daemon
// runs. Fans belong to the connection that forced them, not to its user or process.
using ClientId = std::uint64_t;

} // namespace halvoren
