// Cost of one microphone check on this machine: through the sound server the environment
// names (PULSE_SERVER or the user's own), connecting per call or over a connection kept open,
// and without a server, where the ALSA files decide.
#include "platform/linux/mic_activity_linux.h"

#include <benchmark/benchmark.h>
#include <fstream>
#include <optional>
#include <string>

namespace halvoren {
namespace {

namespace fs = std::filesystem;

std::chrono::steady_clock::time_point deadline() {
    return std::chrono::steady_clock::now() + kSoundServerTimeout;
}

bool serverReachable() {
    return SoundServerConnection(deadline()).connected();
}

const char* const kNoServer = "unix:/nonexistent/halvoren-bench/native";

// A laptop's sound cards: an analog codec with a capture and a playback device, and HDMI
// outputs; nothing records.
fs::path laptopProcTree() {
    fs::path root = fs::temp_directory_path() / "halvoren-bench-mic-proc";
    const auto status = [&](const fs::path& sub, const char* text) {
        fs::create_directories(root / "asound" / sub);
        std::ofstream(root / "asound" / sub / "status") << text;
    };
    status("card0/pcm0c/sub0", "state: PREPARED\nowner_pid   : 1201\n");
    status("card0/pcm0p/sub0", "state: RUNNING\nowner_pid   : 1201\n");
    for (const char* pcm : {"pcm3p", "pcm7p", "pcm8p"}) {
        status(fs::path("card1") / pcm / "sub0", "closed\n");
    }
    std::ofstream(root / "asound" / "cards") << " 0 [PCH            ]: HDA-Intel\n";
    return root;
}

void BM_CheckThroughServer(benchmark::State& state) {
    if (!serverReachable()) {
        state.SkipWithError("no sound server reachable");
        return;
    }
    const auto monitor = makeLinuxMicActivityMonitor("/proc");
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(monitor->isMicrophoneInUse());
    }
}

void BM_QueryOverOpenConnection(benchmark::State& state) {
    SoundServerConnection server(deadline());
    if (!server.connected()) {
        state.SkipWithError("no sound server reachable");
        return;
    }
    while (state.KeepRunning()) {
        const std::optional<bool> answer = server.defaultSourceRecording(deadline());
        if (!answer) {
            state.SkipWithError("the server stopped answering");
            return;
        }
        benchmark::DoNotOptimize(*answer);
    }
}

void checkWithoutServer(benchmark::State& state, const fs::path& procRoot) {
    const auto monitor = makeLinuxMicActivityMonitor(procRoot, kSoundServerTimeout, kNoServer);
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(monitor->isMicrophoneInUse());
    }
}

void BM_CheckWithoutServerThisMachinesAlsa(benchmark::State& state) {
    checkWithoutServer(state, "/proc");
}
void BM_CheckWithoutServerLaptopAlsa(benchmark::State& state) {
    checkWithoutServer(state, laptopProcTree());
}

void BM_AlsaScanLaptop(benchmark::State& state) {
    const fs::path root = laptopProcTree();
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(alsaCaptureRunning(root));
    }
}

// Wall time: the server's side of a check is spent waiting.
void micSettings(benchmark::internal::Benchmark* bench) {
    bench->Unit(benchmark::kMicrosecond)->UseRealTime()->Repetitions(7)->ReportAggregatesOnly(true);
}
BENCHMARK(BM_CheckThroughServer)->Apply(micSettings);
BENCHMARK(BM_QueryOverOpenConnection)->Apply(micSettings);
BENCHMARK(BM_CheckWithoutServerThisMachinesAlsa)->Apply(micSettings);
BENCHMARK(BM_CheckWithoutServerLaptopAlsa)->Apply(micSettings);
BENCHMARK(BM_AlsaScanLaptop)->Apply(micSettings);

} // namespace
} // namespace halvoren

BENCHMARK_MAIN();
