#pragma once

// The Linux microphone monitor's parts, for the monitor itself, its tests and its benchmark.

#include "platform/mic_activity_monitor.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

struct pa_context;
struct pa_mainloop;

namespace halvoren {

// Asking the sound server, connection included, gives up after this; the ALSA fallback that
// follows only reads a few small /proc files, so a call stays within half a second.
inline constexpr std::chrono::milliseconds kSoundServerTimeout{400};

// A source (an input) as the sound server lists it.
struct SoundSource {
    std::uint32_t index = 0;
    std::string name;
    bool monitor = false; // records what a sink plays, not a microphone

    friend bool operator==(const SoundSource&, const SoundSource&) = default;
};

// A recording stream (a "source output") and the source it is attached to.
struct RecordingStream {
    std::uint32_t source = 0;
    bool corked = false; // paused by its program

    friend bool operator==(const RecordingStream&, const RecordingStream&) = default;
};

// Whether some recording stream that is not corked is attached to the default source, the
// source named `defaultSource`. A default source that is not listed, or that is a monitor
// (flagged so, or named "*.monitor"), is no microphone: false.
bool recordsFromDefaultSource(std::string_view defaultSource, std::span<const SoundSource> sources,
                              std::span<const RecordingStream> streams);

// One ALSA substream's status file: true while its state is RUNNING or DRAINING ("closed",
// PREPARED, SETUP, XRUN, PAUSED and anything unreadable are not).
bool alsaStatusRunning(std::string_view statusText);

// Whether any ALSA capture substream runs: each <procRoot>/asound/card*/pcm*c/sub*/status.
// ALSA has no default input that can be read this cheaply, so capture from any card counts.
bool alsaCaptureRunning(const std::filesystem::path& procRoot);

// A connection to a PulseAudio-compatible server (PulseAudio itself or PipeWire's), driven
// by a blocking main loop on the calling thread. Never starts a server. One thread at a time.
class SoundServerConnection {
public:
    // Connects to `server` ("unix:/path/native", as PULSE_SERVER takes it), or with an empty
    // one to the server the environment and the client configuration name, waiting until
    // `deadline` at the latest; `connected()` tells whether it worked.
    SoundServerConnection(std::chrono::steady_clock::time_point deadline, const std::string& server = {});
    ~SoundServerConnection();
    SoundServerConnection(const SoundServerConnection&) = delete;
    SoundServerConnection& operator=(const SoundServerConnection&) = delete;

    bool connected() const;
    // `recordsFromDefaultSource` over the server's default source, sources and recording
    // streams; none when the server could not answer by `deadline`.
    std::optional<bool> defaultSourceRecording(std::chrono::steady_clock::time_point deadline);

private:
    template <class Done>
    bool runUntil(Done done, std::chrono::steady_clock::time_point deadline);

    pa_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
};

// The Linux monitor: the answer of `server` (empty: the default one) when it is reachable within
// `serverTimeout`, else ALSA's under `procRoot`.
std::shared_ptr<MicActivityMonitor>
makeLinuxMicActivityMonitor(std::filesystem::path procRoot,
                            std::chrono::milliseconds serverTimeout = kSoundServerTimeout,
                            std::string server = {});

} // namespace halvoren
