#pragma once

#include "platform/mic_activity_monitor.h"

#include <atomic>

namespace halvoren {

// A microphone whose answer the test sets; counts the calls, as the engine asks it from a
// worker thread.
class FakeMicActivityMonitor final : public MicActivityMonitor {
public:
    std::atomic<bool> inUse{false};
    std::atomic<int> calls{0};

    bool isMicrophoneInUse() override {
        ++calls;
        return inUse.load();
    }
};

} // namespace halvoren
