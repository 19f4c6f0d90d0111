#include "platform/mic_activity_monitor.h"

#include <CoreAudio/AudioHardware.h>

namespace halvoren {
namespace {

// One 4-byte global property of `object`, element 0; none when the call fails.
template <class Value>
bool globalProperty(AudioObjectID object, AudioObjectPropertySelector selector, Value& value) {
    static_assert(sizeof(Value) == 4);
    const AudioObjectPropertyAddress address{selector, kAudioObjectPropertyScopeGlobal, 0};
    UInt32 size = sizeof(value);
    return AudioObjectGetPropertyData(object, &address, 0, nullptr, &size, &value) == noErr &&
           size == sizeof(value);
}

// Reads only whether the default input device runs in some process, never audio, so no
// microphone permission is asked for.
class CoreAudioMicActivityMonitor final : public MicActivityMonitor {
public:
    bool isMicrophoneInUse() override {
        AudioDeviceID device = kAudioObjectUnknown;
        if (!globalProperty(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultInputDevice, device) ||
            device == kAudioObjectUnknown) {
            return false;
        }
        UInt32 running = 0;
        return globalProperty(device, kAudioDevicePropertyDeviceIsRunningSomewhere, running) && running != 0;
    }
};

} // namespace

std::shared_ptr<MicActivityMonitor> systemMicActivityMonitor() {
    return std::make_shared<CoreAudioMicActivityMonitor>();
}

} // namespace halvoren
