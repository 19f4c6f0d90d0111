#include "platform/linux/mic_activity_linux.h"

#include <utility>

namespace halvoren {
namespace {

// Connects for each call: calls come ten seconds apart, and a fresh connection has no state to
// go stale when the server restarts.
class LinuxMicActivityMonitor final : public MicActivityMonitor {
public:
    LinuxMicActivityMonitor(std::filesystem::path procRoot, std::chrono::milliseconds serverTimeout,
                            std::string server)
        : procRoot_(std::move(procRoot))
        , serverTimeout_(serverTimeout)
        , server_(std::move(server)) {}

    bool isMicrophoneInUse() override {
        const auto deadline = std::chrono::steady_clock::now() + serverTimeout_;
        SoundServerConnection server(deadline, server_);
        if (const std::optional<bool> answer = server.defaultSourceRecording(deadline)) {
            return *answer;
        }
        return alsaCaptureRunning(procRoot_);
    }

private:
    std::filesystem::path procRoot_;
    std::chrono::milliseconds serverTimeout_;
    std::string server_;
};

} // namespace

std::shared_ptr<MicActivityMonitor> makeLinuxMicActivityMonitor(std::filesystem::path procRoot,
                                                                std::chrono::milliseconds serverTimeout,
                                                                std::string server) {
    return std::make_shared<LinuxMicActivityMonitor>(std::move(procRoot), serverTimeout, std::move(server));
}

std::shared_ptr<MicActivityMonitor> systemMicActivityMonitor() {
    return makeLinuxMicActivityMonitor("/proc");
}

} // namespace halvoren
