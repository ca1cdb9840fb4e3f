#include "platform/linux/PulseSystemAudio.h"

#include "base/SerialQueue.h"
#include "copy/DesktopCopy.h"
#include "platform/linux/PulseMonitor.h"
#include "platform/linux/PulseOwnSound.h"
#include "platform/linux/UntilHeard.h"

#include <utility>

namespace platform::linux_desktop {

namespace {

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
        , m_excludesOwn(settings.excludesCurrentProcessAudio)
        , m_handlers(std::move(handlers))
        , m_ownSound(
              *m_loop, m_format, [this](const capture::AudioBlock& block) { m_heard.pass(block); },
              [this] { checkSoon(); }) {
        if (!m_excludesOwn) {
            m_ownSound.passAll();
        }
    }

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
            m_excludesOwn
                ? static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SINK_INPUT)
                : PA_SUBSCRIPTION_MASK_SERVER,
            [weak = weak_from_this()](pa_subscription_event_type_t kind, std::uint32_t) {
                if (const auto self = weak.lock()) {
                    self->heard(kind);
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

    /// On the loop's thread.
    void heard(pa_subscription_event_type_t kind) {
        if ((kind & PA_SUBSCRIPTION_EVENT_FACILITY_MASK) == PA_SUBSCRIPTION_EVENT_SERVER) {
            m_queue->post([self = shared_from_this()] { self->followDefault(); });
            return;
        }
        // Sound of a new input comes after this word, so nothing of ours has passed yet.
        if ((kind & PA_SUBSCRIPTION_EVENT_TYPE_MASK) != PA_SUBSCRIPTION_EVENT_REMOVE) {
            m_ownSound.changed();
        }
        checkSoon();
    }

    /// On the loop's thread.
    void checkSoon() {
        m_queue->post([self = shared_from_this()] { self->checkInputs(); });
    }

    void checkInputs() {
        if (!m_monitor || !m_excludesOwn) {
            return;
        }
        if (m_ownSound.check(*m_connection, m_monitor->sink(), Deadline(PulseSystemAudio::answerLimit))) {
            m_queue->after(OwnSoundFilter::tapDelay, [weak = weak_from_this()] {
                if (const auto self = weak.lock()) {
                    self->checkInputs();
                }
            });
        }
    }

    /// Moves to the output that is the default now; stays where that is the one already.
    [[nodiscard]] std::optional<QString> openDefault(Deadline deadline) {
        const auto defaults = m_connection->defaults(deadline);
        if (!defaults) {
            return defaults.error();
        }
        // While a server changes its default, some name it by its alias.
        if (m_monitor && (defaults->sink.starts_with('@') || defaults->sink == m_monitor->sink().name)) {
            return std::nullopt;
        }
        auto sink = m_connection->sink(defaults->sink, deadline);
        if (!sink) {
            return std::move(sink.error());
        }
        if (!*sink || (*sink)->monitor.empty()) {
            return copy::DesktopCopy::current().noMonitor;
        }
        auto monitor =
            std::make_unique<PulseMonitor>(*m_connection, std::move(**sink), m_format,
                                           [this](const capture::AudioBlock& block) { m_ownSound.monitor(block); });
        auto failure = monitor->open(
            std::nullopt,
            [weak = weak_from_this(), number = ++m_opened](const QString& reason) {
                if (const auto self = weak.lock()) {
                    self->m_queue->post([self, number, reason] { self->monitorEnded(number, reason); });
                }
            },
            deadline);
        if (failure) {
            return failure;
        }
        replaceMonitor(std::move(monitor));
        return std::nullopt;
    }

    /// The old one has run until here; what both have heard is delivered once.
    void replaceMonitor(std::unique_ptr<PulseMonitor> monitor) {
        const auto deliveredUntil = m_monitor ? m_monitor->finish() : m_deliveredUntil;
        m_ownSound.drop();
        m_monitor = std::move(monitor);
        m_monitorNumber = m_opened;
        if (m_excludesOwn) {
            const PulseLoop::Lock lock(*m_loop);
            m_ownSound.changed();
        }
        m_monitor->start(deliveredUntil);
        checkInputs();
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
        m_ownSound.finish();
        m_heard.finish();
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
    const bool m_excludesOwn;
    std::shared_ptr<base::SerialQueue> m_queue = std::make_shared<base::SerialQueue>("com.orvane.tarvex.system.source");

    // The state of the queue.
    std::unique_ptr<PulseConnection> m_connection;
    std::unique_ptr<PulseMonitor> m_monitor;
    int m_opened = 0;
    int m_monitorNumber = 0;
    std::optional<double> m_deliveredUntil;
    bool m_closed = false;

    // Touched with the loop's lock held.
    capture::SystemAudioSource::Handlers m_handlers;
    bool m_silent = false;

    base::MonotonicClock m_clock;
    UntilHeard m_heard{m_clock, [this](const capture::AudioBlock& block) { deliver(block); }};
    PulseOwnSound m_ownSound; // calls out, so it comes last
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
