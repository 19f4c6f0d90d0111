#include "../../smc/temp_directory.h"
#include "platform/linux/mic_activity_linux.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

TEST(MicActivity, OnlyALiveStreamOnTheDefaultMicrophoneCounts) {
    const std::vector<SoundSource> sources{
        {4, "alsa_input.usb-mic", false},
        {0, "alsa_input.pci-analog", false},
        {1, "speakers.monitor", true},
        {7, "virtual.monitor", false}, // a monitor by its name alone
    };
    struct Case {
        const char* defaultSource;
        std::vector<RecordingStream> streams;
        bool expected;
    } const cases[] = {
        {"alsa_input.usb-mic", {{4, false}}, true},
        {"alsa_input.usb-mic", {{4, true}, {4, false}}, true},
        {"alsa_input.usb-mic", {{4, true}}, false},                // paused
        {"alsa_input.usb-mic", {{0, false}, {1, false}}, false},   // recording other sources
        {"alsa_input.pci-analog", {{4, false}, {0, false}}, true}, // matched by index, not position
        {"alsa_input.usb-mic", {}, false},
        {"speakers.monitor", {{1, false}}, false},
        {"virtual.monitor", {{7, false}}, false},
        {"", {{4, false}}, false},              // no default source
        {"unplugged-mic", {{4, false}}, false}, // a default the server does not list
    };
    for (const Case& c : cases) {
        EXPECT_EQ(recordsFromDefaultSource(c.defaultSource, sources, c.streams), c.expected)
            << c.defaultSource;
    }
}

TEST(MicActivity, AlsaStatusRunsOnlyWhileRunningOrDraining) {
    EXPECT_TRUE(alsaStatusRunning("state: RUNNING\nowner_pid   : 812\ntrigger_time: 51.2\n"));
    EXPECT_TRUE(alsaStatusRunning("state:\tDRAINING\r\n"));
    for (const char* text :
         {"closed\n", "state: PREPARED\nowner_pid   : 812\n", "state: XRUN\n", "state: RUNNINGX\n",
          "owner_pid: 1\nstates: RUNNING\n", "", "\xff\xfe\n\n state: RUNNING"}) {
        EXPECT_FALSE(alsaStatusRunning(text)) << text;
    }
}

class MicActivityMonitorTest : public ::testing::Test {
protected:
    void status(const fs::path& sub, const std::string& text) const {
        testing::writeFile(root / "asound" / sub / "status", text);
    }

    testing::TempDirectory dir;
    fs::path root = dir.path();
    std::string noServer = "unix:" + (root / "no-server").string();
};

TEST_F(MicActivityMonitorTest, WithoutAServerAnyRunningAlsaCaptureCounts) {
    const auto monitor = makeLinuxMicActivityMonitor(root, kSoundServerTimeout, noServer);
    EXPECT_FALSE(monitor->isMicrophoneInUse()); // no asound at all
    status("card0/pcm0c/sub0", "closed");
    status("card0/pcm0p/sub0", "state: RUNNING"); // playback
    status("card1/pcm3c/sub1", "state: PREPARED");
    status("cards/pcm0c/sub0", "state: RUNNING"); // not a card
    status("card1/pcm4c/subX", "state: RUNNING");
    status("card1/pcmc/sub0", "state: RUNNING");
    EXPECT_FALSE(monitor->isMicrophoneInUse());
    status("card1/pcm3c/sub2", "state: RUNNING");
    EXPECT_TRUE(monitor->isMicrophoneInUse());
    EXPECT_TRUE(alsaCaptureRunning(root));
    EXPECT_FALSE(alsaCaptureRunning(root / "absent"));
}

TEST_F(MicActivityMonitorTest, ASilentServerFallsBackToAlsaAfterTheTimeout) {
    const fs::path socketPath = root / "silent";
    const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(listen(listener, 4), 0); // accepted by the kernel, never answered
    status("card0/pcm0c/sub0", "state: RUNNING");

    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(
        makeLinuxMicActivityMonitor(root, std::chrono::milliseconds(100), "unix:" + socketPath.string())
            ->isMicrophoneInUse());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2)); // not hung
    close(listener);
}

} // namespace
} // namespace halvoren
