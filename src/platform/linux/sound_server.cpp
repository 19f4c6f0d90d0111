#include "platform/linux/mic_activity_linux.h"

#include <algorithm>
#include <array>
#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/mainloop.h>
#include <vector>

namespace halvoren {
namespace {

using Clock = std::chrono::steady_clock;

// What one query gathers; the callbacks fill it in.
struct Answers {
    std::optional<std::string> defaultSource;
    std::vector<SoundSource> sources;
    std::vector<RecordingStream> streams;
    bool sourcesDone = false;
    bool streamsDone = false;
    bool failed = false;
};

void onServerInfo(pa_context* /*context*/, const pa_server_info* info, void* data) {
    auto& answers = *static_cast<Answers*>(data);
    if (info == nullptr) {
        answers.failed = true;
        return;
    }
    answers.defaultSource = info->default_source_name != nullptr ? info->default_source_name : "";
}

void onSource(pa_context* /*context*/, const pa_source_info* info, int eol, void* data) {
    auto& answers = *static_cast<Answers*>(data);
    if (eol != 0 || info == nullptr) {
        answers.failed = answers.failed || eol < 0;
        answers.sourcesDone = true;
        return;
    }
    answers.sources.push_back(
        {info->index, info->name != nullptr ? info->name : "", info->monitor_of_sink != PA_INVALID_INDEX});
}

void onStream(pa_context* /*context*/, const pa_source_output_info* info, int eol, void* data) {
    auto& answers = *static_cast<Answers*>(data);
    if (eol != 0 || info == nullptr) {
        answers.failed = answers.failed || eol < 0;
        answers.streamsDone = true;
        return;
    }
    answers.streams.push_back({info->source, info->corked != 0});
}

bool isMonitorName(std::string_view name) {
    return name.ends_with(".monitor");
}

} // namespace

bool recordsFromDefaultSource(std::string_view defaultSource, std::span<const SoundSource> sources,
                              std::span<const RecordingStream> streams) {
    const auto source = std::find_if(sources.begin(), sources.end(),
                                     [&](const SoundSource& s) { return s.name == defaultSource; });
    if (defaultSource.empty() || source == sources.end() || source->monitor || isMonitorName(source->name)) {
        return false;
    }
    return std::any_of(streams.begin(), streams.end(), [&](const RecordingStream& stream) {
        return stream.source == source->index && !stream.corked;
    });
}

template <class Done>
bool SoundServerConnection::runUntil(Done done, Clock::time_point deadline) {
    while (!done()) {
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        if (pa_mainloop_prepare(loop_, static_cast<int>(left.count())) < 0 || pa_mainloop_poll(loop_) < 0 ||
            pa_mainloop_dispatch(loop_) < 0) {
            return false;
        }
    }
    return true;
}

SoundServerConnection::SoundServerConnection(Clock::time_point deadline, const std::string& server)
    : loop_(pa_mainloop_new()) {
    if (loop_ == nullptr) {
        return;
    }
    context_ = pa_context_new(pa_mainloop_get_api(loop_), "Halvoren");
    // Without a name, the server PULSE_SERVER, the client configuration or the user's runtime
    // directory names; never one started for us.
    if (context_ == nullptr || pa_context_connect(context_, server.empty() ? nullptr : server.c_str(),
                                                  PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
        return;
    }
    runUntil(
        [this] {
            const pa_context_state_t state = pa_context_get_state(context_);
            return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
        },
        deadline);
}

SoundServerConnection::~SoundServerConnection() {
    if (context_ != nullptr) {
        pa_context_disconnect(context_);
        pa_context_unref(context_);
    }
    if (loop_ != nullptr) {
        pa_mainloop_free(loop_);
    }
}

bool SoundServerConnection::connected() const {
    return context_ != nullptr && pa_context_get_state(context_) == PA_CONTEXT_READY;
}

std::optional<bool> SoundServerConnection::defaultSourceRecording(Clock::time_point deadline) {
    if (!connected()) {
        return std::nullopt;
    }
    // The three requests go out together and are answered in one round trip.
    Answers answers;
    const std::array<pa_operation*, 3> operations{
        pa_context_get_server_info(context_, onServerInfo, &answers),
        pa_context_get_source_info_list(context_, onSource, &answers),
        pa_context_get_source_output_info_list(context_, onStream, &answers),
    };
    const bool sent =
        std::none_of(operations.begin(), operations.end(), [](pa_operation* o) { return o == nullptr; });
    const bool answered =
        sent && runUntil(
                    [&] {
                        return answers.failed || !connected() ||
                               (answers.defaultSource && answers.sourcesDone && answers.streamsDone);
                    },
                    deadline);
    for (pa_operation* operation : operations) {
        if (operation != nullptr) {
            // Cancelled, a late reply can no longer reach `answers`.
            if (pa_operation_get_state(operation) == PA_OPERATION_RUNNING) {
                pa_operation_cancel(operation);
            }
            pa_operation_unref(operation);
        }
    }
    if (!answered || answers.failed || !answers.defaultSource || !answers.sourcesDone ||
        !answers.streamsDone) {
        return std::nullopt;
    }
    return recordsFromDefaultSource(*answers.defaultSource, answers.sources, answers.streams);
}

} // namespace halvoren
