#include "platform/linux/PulseSystemAudio.h"

#include "base/SerialQueue.h"
#include "copy/DesktopCopy.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseFormat.h"
#include "platform/linux/PulseRecording.h"
#include "platform/linux/SoundFeed.h"

#include <utility>

namespace platform::linux_desktop {

namespace {

/// The monitor of one output, and the blocks that come from it.
class Monitor {
public:
    Monitor(PulseConnection& connection, std::string sink, const capture::AudioFormat& format,
            SoundFeed::OnBlock onBlock)
        : m_connection(connection)
        , m_sink(std::move(sink))
        , m_format(format)
        , m_feed(format, std::move(onBlock)) {}

    ~Monitor() {
        const PulseLoop::Lock lock(m_connection.loop());
        m_feed.finish();
        m_recording.reset();
    }

    /// Nullopt, or why not. Never takes a microphone in the place of the monitor.
    [[nodiscard]] std::optional<QString> open(std::function<void(QString)> onEnded, Deadline deadline) {
        const auto sink = m_connection.sink(m_sink, deadline);
        if (!sink) {
            return sink.error();
        }
        if (!*sink || (*sink)->monitor.empty()) {
            return noMonitor();
        }
        const auto source = m_connection.source((*sink)->monitor, deadline);
        if (!source) {
            return source.error();
        }
        if (!*source || !(*source)->playsBack) {
            return noMonitor();
        }
        auto opened = PulseRecording::open(
            m_connection,
            {.source = (*source)->name, .format = PulseFormat::toSampleSpec(m_format), .channels = std::nullopt},
            m_feed, std::move(onEnded), deadline);
        if (!opened) {
            return std::move(opened.error());
        }
        m_recording = std::move(*opened);
        return m_recording->device() == (*source)->name ? std::nullopt : std::optional(noMonitor());
    }

    void start(std::optional<double> deliveredUntil) {
        const PulseLoop::Lock lock(m_connection.loop());
        m_feed.start(deliveredUntil);
    }

    [[nodiscard]] const std::string& sink() const noexcept { return m_sink; }

    /// Delivers the last, and says where that ends.
    [[nodiscard]] std::optional<double> finish() {
        const PulseLoop::Lock lock(m_connection.loop());
        m_recording.reset();
        m_feed.finish();
        return m_feed.deliveredUntil();
    }

private:
    [[nodiscard]] static QString noMonitor() { return copy::DesktopCopy::current().noMonitor; }

    PulseConnection& m_connection;
    std::string m_sink;
    capture::AudioFormat m_format;
    SoundFeed m_feed;
    std::unique_ptr<PulseRecording> m_recording;
};

/// A stream's work. Lives on its queue, and beyond the stream until its last task there has ended.
class Work final : public std::enable_shared_from_this<Work> {
public:
    using Stream = capture::SystemAudioSource::Stream;

    Work(std::shared_ptr<PulseLoop> loop, const capture::SystemAudioSource::Settings& settings,
         capture::SystemAudioSource::Handlers handlers)
        : m_loop(std::move(loop))
        , m_format{.sampleType = capture::SampleType::Int16,
                   .sampleRate = settings.sampleRate,
                   .channels = settings.channelCount}
        , m_handlers(std::move(handlers)) {}

    void start(Stream::StartReply reply) {
        m_queue->post([self = shared_from_this(), reply = std::move(reply)] { self->begin(reply); });
    }

    void stop(Stream::StopReply reply) {
        m_queue->post([self = shared_from_this(), reply = std::move(reply)] {
            self->close();
            self->say([&] {
                if (reply) {
                    reply();
                }
            });
        });
    }

    /// No handler and no reply is called after this.
    void end() {
        {
            const PulseLoop::Lock lock(*m_loop);
            m_silent = true;
            m_handlers = {};
        }
        stop({});
    }

private:
    void begin(const Stream::StartReply& reply) {
        if (m_closed) {
            return;
        }
        const auto failure = open();
        if (failure) {
            close();
        }
        say([&] { reply(failure); });
    }

    /// Calls out unless the stream has ended; it can't end in between.
    void say(const std::function<void()>& word) {
        const PulseLoop::Lock lock(*m_loop);
        if (!m_silent) {
            word();
        }
    }

    [[nodiscard]] std::optional<QString> open() {
        const Deadline deadline(PulseSystemAudio::answerLimit);
        auto opened = PulseConnection::open(*m_loop, deadline);
        if (!opened) {
            return std::move(opened.error());
        }
        m_connection = std::move(*opened);
        const auto listening = m_connection->listen(
            PA_SUBSCRIPTION_MASK_SERVER,
            [weak = weak_from_this()](pa_subscription_event_type_t, std::uint32_t) {
                if (const auto self = weak.lock()) {
                    self->m_queue->post([self] { self->followDefault(); });
                }
            },
            [weak = weak_from_this()](const QString& reason) {
                if (const auto self = weak.lock()) {
                    self->m_queue->post([self, reason] { self->lost(reason); });
                }
            },
            deadline);
        if (!listening) {
            return listening.error();
        }
        return openDefault(deadline);
    }

    /// Moves to the output that is the default now; stays where that is the one already.
    [[nodiscard]] std::optional<QString> openDefault(Deadline deadline) {
        const auto defaults = m_connection->defaults(deadline);
        if (!defaults) {
            return defaults.error();
        }
        // While a server changes its default, some name it by its alias.
        if (m_monitor && (defaults->sink.starts_with('@') || defaults->sink == m_monitor->sink())) {
            return std::nullopt;
        }
        auto monitor = std::make_unique<Monitor>(*m_connection, defaults->sink, m_format,
                                                 [this](const capture::AudioBlock& block) { deliver(block); });
        auto failure = monitor->open(
            [weak = weak_from_this(), number = ++m_opened](const QString& reason) {
                if (const auto self = weak.lock()) {
                    self->m_queue->post([self, number, reason] { self->monitorEnded(number, reason); });
                }
            },
            deadline);
        if (failure) {
            return failure;
        }
        // The old one has run until here; what both have heard is delivered once.
        const auto deliveredUntil = m_monitor ? m_monitor->finish() : m_deliveredUntil;
        m_monitor = std::move(monitor);
        m_monitorNumber = m_opened;
        m_monitor->start(deliveredUntil);
        return std::nullopt;
    }

    void followDefault() {
        if (m_monitor) {
            // A failure here is no end: the old output still plays, or its end will be told.
            static_cast<void>(openDefault(Deadline(PulseSystemAudio::answerLimit)));
        }
    }

    void monitorEnded(int number, const QString& reason) {
        if (!m_monitor || number != m_monitorNumber) {
            return;
        }
        m_deliveredUntil = m_monitor->finish();
        m_monitor.reset();
        look(reason, Deadline(PulseSystemAudio::followLimit));
    }

    /// The output has gone; another one takes its place, but the server may need a moment to choose it.
    void look(const QString& reason, Deadline deadline) {
        if (!m_connection || m_monitor || !openDefault(deadline)) {
            return;
        }
        if (deadline.passed()) {
            lost(reason);
            return;
        }
        m_queue->after(PulseSystemAudio::followDelay, [weak = weak_from_this(), reason, deadline] {
            if (const auto self = weak.lock()) {
                self->look(reason, deadline);
            }
        });
    }

    void lost(const QString& reason) {
        if (!m_connection) {
            return;
        }
        close();
        say([&] { m_handlers.onStopped(reason); });
    }

    void close() {
        m_closed = true;
        m_monitor.reset();
        m_connection.reset();
    }

    /// On the loop's thread or with its lock held.
    void deliver(const capture::AudioBlock& block) {
        if (!m_silent) {
            m_handlers.onBlock(block);
        }
    }

    std::shared_ptr<PulseLoop> m_loop;
    const capture::AudioFormat m_format;
    std::shared_ptr<base::SerialQueue> m_queue = std::make_shared<base::SerialQueue>("com.orvane.tarvex.system.source");

    // The state of the queue.
    std::unique_ptr<PulseConnection> m_connection;
    std::unique_ptr<Monitor> m_monitor;
    int m_opened = 0;
    int m_monitorNumber = 0;
    std::optional<double> m_deliveredUntil;
    bool m_closed = false;

    // Touched with the loop's lock held.
    capture::SystemAudioSource::Handlers m_handlers;
    bool m_silent = false;
};

class PulseSystemAudioStream final : public capture::SystemAudioSource::Stream {
public:
    explicit PulseSystemAudioStream(std::shared_ptr<Work> work) : m_work(std::move(work)) {}

    ~PulseSystemAudioStream() override { m_work->end(); }

    void startCapture(StartReply reply) override { m_work->start(std::move(reply)); }

    void stopCapture(StopReply reply) override { m_work->stop(std::move(reply)); }

private:
    std::shared_ptr<Work> m_work;
};

} // namespace

PulseSystemAudio::PulseSystemAudio(std::shared_ptr<PulseLoop> loop) : m_loop(std::move(loop)) {}

std::expected<std::shared_ptr<capture::SystemAudioSource::Stream>, QString>
PulseSystemAudio::makeStream(const capture::Display&, const Settings& settings, Handlers handlers) {
    return std::make_shared<PulseSystemAudioStream>(std::make_shared<Work>(m_loop, settings, std::move(handlers)));
}

} // namespace platform::linux_desktop
