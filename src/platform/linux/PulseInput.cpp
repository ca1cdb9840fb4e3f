#include "platform/linux/PulseInput.h"

#include "platform/linux/PulseFormat.h"
#include "platform/linux/PulseInputWatch.h"
#include "platform/linux/PulseRecording.h"
#include "platform/linux/SoundFeed.h"
#include "platform/linux/UntilHeard.h"

#include <utility>

namespace platform::linux_desktop {

using capture::CaptureError;

namespace {

CaptureError cannotUse(QString reason) {
    return {CaptureError::Kind::CannotUse, std::move(reason)};
}

class PulseInputStream final : public capture::AudioInput::Stream {
public:
    PulseInputStream(std::shared_ptr<PulseLoop> loop, std::unique_ptr<PulseConnection> connection,
                     const capture::AudioFormat& format, capture::AudioInput::Handlers handlers,
                     const PulseInputStream* replaced)
        : m_loop(std::move(loop))
        , m_connection(std::move(connection))
        , m_handlers(std::move(handlers))
        , m_feed(format, [this](const capture::AudioBlock& block) { m_heard.pass(block); })
        , m_replaced(replaced ? replaced->m_delivered : nullptr) {}

    ~PulseInputStream() override {
        const PulseLoop::Lock lock(*m_loop);
        m_feed.finish();
        m_heard.finish();
        *m_delivered = m_feed.deliveredUntil();
        m_recording.reset();
        m_connection.reset();
    }

    [[nodiscard]] std::optional<CaptureError> record(const PulseConnection::Source& source,
                                                     const PulseRecording::Target& target, Deadline deadline) {
        auto opened = PulseRecording::open(*m_connection, target, m_feed, m_handlers.onLost, deadline);
        if (!opened) {
            return cannotUse(std::move(opened.error()));
        }
        m_recording = std::move(*opened);
        // Where the device has just gone, a server may choose another one by itself.
        return m_recording->device() == source.name ? std::nullopt : std::optional(cannotUse(source.description));
    }

    void start() override {
        const PulseLoop::Lock lock(*m_loop);
        m_feed.start(m_replaced ? *m_replaced : std::nullopt);
    }

private:
    std::shared_ptr<PulseLoop> m_loop;
    std::unique_ptr<PulseConnection> m_connection;
    std::unique_ptr<PulseRecording> m_recording;

    // Touched with the loop's lock held.
    capture::AudioInput::Handlers m_handlers;
    base::MonotonicClock m_clock;
    UntilHeard m_heard{m_clock, m_handlers.onBlock};
    SoundFeed m_feed;
    /// The end of what was delivered, known when the stream has ended; outlives it for the one that replaces it.
    std::shared_ptr<std::optional<double>> m_delivered = std::make_shared<std::optional<double>>();
    std::shared_ptr<std::optional<double>> m_replaced;
};

} // namespace

PulseInput::PulseInput(std::shared_ptr<PulseLoop> loop) : m_loop(std::move(loop)) {}

PulseInput::~PulseInput() = default;

std::expected<std::unique_ptr<capture::AudioInput::Stream>, CaptureError> PulseInput::open(Handlers handlers,
                                                                                           const Stream* replaced) {
    const Deadline deadline(openLimit);
    auto connection = PulseConnection::open(*m_loop, deadline);
    if (!connection) {
        return std::unexpected(cannotUse(std::move(connection.error())));
    }
    const auto defaults = (*connection)->defaults(deadline);
    if (!defaults) {
        return std::unexpected(cannotUse(defaults.error()));
    }
    const auto source = (*connection)->source(defaults->source, deadline);
    if (!source) {
        return std::unexpected(cannotUse(source.error()));
    }
    // When the last microphone goes, servers make a monitor of the loudspeakers the default.
    if (!*source || (*source)->playsBack) {
        return std::unexpected(CaptureError{CaptureError::Kind::NoMicrophone, {}});
    }
    const auto format = PulseFormat::deliverable((*source)->format);
    if (!format) {
        return std::unexpected(cannotUse((*source)->description));
    }
    auto stream = std::make_unique<PulseInputStream>(m_loop, std::move(*connection), *format, std::move(handlers),
                                                     static_cast<const PulseInputStream*>(replaced));
    const PulseRecording::Target target{
        .source = (*source)->name, .format = PulseFormat::toSampleSpec(*format), .channels = (*source)->channels};
    if (auto error = stream->record(**source, target, deadline)) {
        return std::unexpected(std::move(*error));
    }
    const std::lock_guard lock(m_lock);
    m_openedSource = (*source)->name;
    return stream;
}

std::unique_ptr<capture::AudioInput::Watch> PulseInput::watch(std::function<void()> onChange) {
    const std::lock_guard lock(m_lock);
    return std::make_unique<PulseInputWatch>(m_loop, m_openedSource, std::move(onChange));
}

} // namespace platform::linux_desktop
