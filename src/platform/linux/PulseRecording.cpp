#include "platform/linux/PulseRecording.h"

#include "base/HostClock.h"
#include "copy/Strings.h"

#include <pulse/timeval.h>

#include <utility>

namespace platform::linux_desktop {

namespace {

pa_buffer_attr bufferFor(double blockSeconds, const pa_sample_spec& format) {
    constexpr auto serversChoice = static_cast<std::uint32_t>(-1);
    const auto bytes = pa_usec_to_bytes(static_cast<pa_usec_t>(blockSeconds * PA_USEC_PER_SEC), &format);
    return {.maxlength = serversChoice,
            .tlength = serversChoice,
            .prebuf = serversChoice,
            .minreq = serversChoice,
            .fragsize = static_cast<std::uint32_t>(bytes)};
}

/// For operations whose end nobody waits for.
void letRun(pa_operation* operation) {
    if (operation) {
        pa_operation_unref(operation);
    }
}

} // namespace

std::expected<std::unique_ptr<PulseRecording>, QString> PulseRecording::open(PulseConnection& connection,
                                                                             const Target& target, SoundFeed& feed,
                                                                             OnEnded onEnded, Deadline deadline) {
    std::unique_ptr<PulseRecording> recording(new PulseRecording(connection, feed, std::move(onEnded)));
    const PulseLoop::Lock lock(connection.loop());
    if (!recording->connect(target)) {
        return std::unexpected(connection.errorText());
    }
    auto* const stream = recording->m_stream.get();
    const auto failure =
        connection.waitUntil([stream] { return pa_stream_get_state(stream) != PA_STREAM_CREATING; }, deadline);
    if (failure) {
        return std::unexpected(*failure);
    }
    if (pa_stream_get_state(stream) != PA_STREAM_READY) {
        return std::unexpected(connection.errorText());
    }
    recording->m_open = true;
    return recording;
}

bool PulseRecording::connect(const Target& target) {
    const QString name = copy::Strings::appName;
    m_stream.reset(pa_stream_new(m_connection.context(), name.toUtf8().constData(), &target.format,
                                 target.channels ? &*target.channels : nullptr));
    auto* const stream = m_stream.get();
    if (!stream || (target.sinkInput && pa_stream_set_monitor_stream(stream, *target.sinkInput) < 0)) {
        return false;
    }
    m_frameBytes = pa_frame_size(&target.format);
    pa_stream_set_state_callback(
        stream, [](pa_stream*, void* self) { static_cast<PulseRecording*>(self)->stateChanged(); }, this);
    pa_stream_set_read_callback(
        stream, [](pa_stream*, std::size_t, void* self) { static_cast<PulseRecording*>(self)->read(); }, this);
    const auto buffer = bufferFor(firstBlockSeconds, target.format);
    // Moved by the server to another device, a microphone could become the monitor of the loudspeakers without a word.
    constexpr auto flags = static_cast<pa_stream_flags_t>(PA_STREAM_DONT_MOVE | PA_STREAM_ADJUST_LATENCY);
    return pa_stream_connect_record(stream, target.source.c_str(), &buffer, flags) >= 0;
}

PulseRecording::~PulseRecording() {
    const PulseLoop::Lock lock(m_connection.loop());
    if (m_stream) {
        if (m_question) {
            pa_operation_cancel(m_question.get());
        }
        pa_stream_set_state_callback(m_stream.get(), nullptr, nullptr);
        pa_stream_set_read_callback(m_stream.get(), nullptr, nullptr);
        pa_stream_disconnect(m_stream.get());
        m_stream.reset();
    }
}

std::string PulseRecording::device() const {
    const PulseLoop::Lock lock(m_connection.loop());
    const char* name = pa_stream_get_device_name(m_stream.get());
    return name ? name : "";
}

void PulseRecording::stateChanged() {
    m_connection.loop().signal();
    if (m_open && !PA_STREAM_IS_GOOD(pa_stream_get_state(m_stream.get()))) {
        m_open = false;
        m_onEnded(m_connection.errorText());
    }
}

void PulseRecording::read() {
    const base::MonotonicClock clock;
    while (pa_stream_readable_size(m_stream.get()) > 0) {
        const void* data = nullptr;
        std::size_t bytes = 0;
        if (pa_stream_peek(m_stream.get(), &data, &bytes) < 0 || bytes == 0) {
            return;
        }
        m_feed.arrived(clock.now(), {static_cast<const std::byte*>(data), data ? bytes : 0},
                       static_cast<std::int64_t>(bytes / m_frameBytes));
        pa_stream_drop(m_stream.get());
    }
    if (m_feed.wantsWord()) {
        askForWord();
    } else if (!m_largeBlocks) {
        enlargeBlocks();
    }
}

/// The latency that the library extrapolates between its own questions wobbles by tens of milliseconds; the answer to a
/// question of ours is true to a tenth of one.
void PulseRecording::askForWord() {
    if (m_question && pa_operation_get_state(m_question.get()) == PA_OPERATION_RUNNING) {
        return;
    }
    m_question.reset(pa_stream_update_timing_info(
        m_stream.get(),
        [](pa_stream*, int success, void* self) {
            if (success) {
                static_cast<PulseRecording*>(self)->takeWord();
            }
        },
        this));
}

void PulseRecording::takeWord() {
    pa_usec_t latency = 0;
    int negative = 0;
    if (pa_stream_get_latency(m_stream.get(), &latency, &negative) >= 0) {
        const double seconds = static_cast<double>(latency) / PA_USEC_PER_SEC;
        m_feed.told(base::MonotonicClock().now(), negative ? -seconds : seconds);
    }
}

void PulseRecording::enlargeBlocks() {
    m_largeBlocks = true;
    const auto buffer = bufferFor(blockSeconds, *pa_stream_get_sample_spec(m_stream.get()));
    letRun(pa_stream_set_buffer_attr(m_stream.get(), &buffer, nullptr, nullptr));
}

} // namespace platform::linux_desktop
