#include "platform/ClickPlayer.h"

#include "base/HostClock.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace platform::linux_desktop {

namespace {

constexpr auto clickFrames = static_cast<std::int64_t>(ClickPlayer::rate * ClickPlayer::clickSeconds);
constexpr std::int16_t loud = 24000;
/// Seconds until a sound server plays, at most.
constexpr double longestStart = 20.0;

} // namespace

struct ClickPlayer::State {
    base::MonotonicClock clock;
    pa_threaded_mainloop* loop = pa_threaded_mainloop_new();
    pa_context* context = nullptr;
    pa_stream* stream = nullptr;
    std::string sink;
    std::int64_t beatFrames = 0;
    std::int64_t frames = 0; ///< handed over

    struct Word {
        std::int64_t frames; ///< handed over by then
        double origin;       ///< where frame 0 lies, as those frames see it
    };

    std::vector<Word> words;

    void connected() {
        if (pa_context_get_state(context) != PA_CONTEXT_READY) {
            return;
        }
        const pa_sample_spec format{.format = PA_SAMPLE_S16NE, .rate = static_cast<std::uint32_t>(rate), .channels = 2};
        stream = pa_stream_new(context, "clicks", &format, nullptr);
        pa_stream_set_write_callback(
            stream, [](pa_stream*, std::size_t bytes, void* self) { static_cast<State*>(self)->write(bytes); }, this);
        const pa_buffer_attr buffer{.maxlength = static_cast<std::uint32_t>(-1),
                                    .tlength = static_cast<std::uint32_t>(pa_usec_to_bytes(40'000, &format)),
                                    .prebuf = static_cast<std::uint32_t>(-1),
                                    .minreq = static_cast<std::uint32_t>(-1),
                                    .fragsize = static_cast<std::uint32_t>(-1)};
        pa_stream_connect_playback(stream, sink.empty() ? nullptr : sink.c_str(), &buffer, PA_STREAM_ADJUST_LATENCY,
                                   nullptr, nullptr);
    }

    void write(std::size_t bytes) {
        std::vector<std::int16_t> samples(bytes / sizeof(std::int16_t));
        for (std::size_t index = 0; index < samples.size(); ++index) {
            const std::int64_t inBeat = (frames + static_cast<std::int64_t>(index / 2)) % beatFrames;
            samples[index] = inBeat < clickFrames ? loud : std::int16_t{0};
        }
        pa_stream_write(stream, samples.data(), samples.size() * sizeof(std::int16_t), nullptr, 0, PA_SEEK_RELATIVE);
        frames += static_cast<std::int64_t>(samples.size() / 2);
        if (auto* const question = pa_stream_update_timing_info(
                stream, [](pa_stream*, int, void* self) { static_cast<State*>(self)->listen(); }, this)) {
            pa_operation_unref(question);
        }
    }

    /// The server has just said when the next frame will be heard.
    void listen() {
        pa_usec_t latency = 0;
        int negative = 0;
        if (pa_stream_get_latency(stream, &latency, &negative) >= 0) {
            const double ahead = static_cast<double>(latency) / 1e6 * (negative ? -1 : 1);
            words.push_back({frames, clock.now() + ahead - static_cast<double>(frames) / rate});
        }
    }
};

ClickPlayer::ClickPlayer(const std::string& sink, Who who, double beatSeconds) : m_state(std::make_unique<State>()) {
    m_state->sink = sink;
    m_state->beatFrames = static_cast<std::int64_t>(rate * beatSeconds);
    auto* const properties = pa_proplist_new();
    if (who == Who::OtherProgram) {
        pa_proplist_sets(properties, PA_PROP_APPLICATION_PROCESS_ID, "1");
    }
    m_state->context =
        pa_context_new_with_proplist(pa_threaded_mainloop_get_api(m_state->loop), "click player", properties);
    pa_proplist_free(properties);
    pa_context_set_state_callback(
        m_state->context, [](pa_context*, void* self) { static_cast<State*>(self)->connected(); }, m_state.get());
    pa_context_connect(m_state->context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr);
    pa_threaded_mainloop_start(m_state->loop);
    const double limit = m_state->clock.now() + longestStart;
    while (!playing()) {
        if (m_state->clock.now() > limit) {
            throw std::runtime_error("the sound server lets nobody play");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        retryRefused();
    }
}

void ClickPlayer::retryRefused() {
    pa_threaded_mainloop_lock(m_state->loop);
    // A server that has just come up may not have its loudspeakers yet.
    if (m_state->stream != nullptr && pa_stream_get_state(m_state->stream) == PA_STREAM_FAILED) {
        pa_stream_unref(m_state->stream);
        m_state->stream = nullptr;
        m_state->connected();
    }
    pa_threaded_mainloop_unlock(m_state->loop);
}

ClickPlayer::~ClickPlayer() {
    pa_threaded_mainloop_stop(m_state->loop);
    if (m_state->stream) {
        pa_stream_disconnect(m_state->stream);
        pa_stream_unref(m_state->stream);
    }
    pa_context_disconnect(m_state->context);
    pa_context_unref(m_state->context);
    pa_threaded_mainloop_free(m_state->loop);
}

bool ClickPlayer::playing() const {
    pa_threaded_mainloop_lock(m_state->loop);
    const bool playing = m_state->frames > static_cast<std::int64_t>(rate);
    pa_threaded_mainloop_unlock(m_state->loop);
    return playing;
}

Clicks ClickPlayer::clicks() const {
    pa_threaded_mainloop_lock(m_state->loop);
    const auto words = m_state->words;
    const auto frames = m_state->frames;
    pa_threaded_mainloop_unlock(m_state->loop);
    Clicks clicks{.moments = {}, .beatSeconds = static_cast<double>(m_state->beatFrames) / rate};
    // A player that was held up plays all that follows later, so that only the words around a click count for it.
    constexpr auto around = static_cast<std::int64_t>(rate / 2);
    for (std::int64_t frame = 0; frame < frames; frame += m_state->beatFrames) {
        std::vector<double> origins;
        for (const auto& word : words) {
            if (std::abs(word.frames - frame) < around) {
                origins.push_back(word.origin);
            }
        }
        if (!origins.empty()) {
            const auto middle = origins.begin() + static_cast<std::ptrdiff_t>(origins.size() / 2);
            std::ranges::nth_element(origins, middle);
            clicks.moments.push_back(*middle + static_cast<double>(frame) / rate);
        }
    }
    return clicks;
}

} // namespace platform::linux_desktop
