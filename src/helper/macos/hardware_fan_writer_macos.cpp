#include "helper/hardware_fan_writer.h"

namespace halvoren {

// On macOS the fans are written by the helper that the system's service manager launches;
// this daemon only drives a simulated Mac there.
std::unique_ptr<FanWriter> openHardwareFanWriter(const std::filesystem::path&) {
    return nullptr;
}

} // namespace halvoren
