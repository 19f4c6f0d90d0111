#pragma once

#include <memory>

namespace halvoren {

// Tells whether some program is capturing from the default input device. It never reads
// audio, only whether capture is running. Blocking: called on a worker thread, one call at a
// time. Any failure reads as false.
class MicActivityMonitor {
public:
    virtual ~MicActivityMonitor() = default;
    virtual bool isMicrophoneInUse() = 0;

protected:
    MicActivityMonitor() = default;
    MicActivityMonitor(const MicActivityMonitor&) = default;
    MicActivityMonitor& operator=(const MicActivityMonitor&) = default;
};

// The running system's own monitor.
std::shared_ptr<MicActivityMonitor> systemMicActivityMonitor();

} // namespace halvoren
