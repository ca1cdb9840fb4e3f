#include "platform/linux/PulseInputWatch.h"

#include "base/SerialQueue.h"
#include "platform/linux/PulseConnection.h"

#include <set>
#include <utility>

namespace platform::linux_desktop {

/// Lives on its queue, and beyond the watch until its last task there has ended.
class PulseInputWatch::Work final : public std::enable_shared_from_this<Work> {
public:
    Work(std::shared_ptr<PulseLoop> loop, std::string known, std::function<void()> onChange)
        : m_loop(std::move(loop))
        , m_known(std::move(known))
        , m_onChange(std::move(onChange)) {}

    void begin() {
        m_queue->post([self = shared_from_this()] { self->connect(); });
    }

    void end() {
        {
            const std::lock_guard lock(m_lock);
            m_onChange = {};
        }
        // The queue is let go on its own thread, which may still be waiting for the server.
        m_queue->post([self = shared_from_this()] {
            self->m_ended = true;
            self->m_connection.reset();
        });
    }

private:
    void connect() {
        if (m_ended) {
            return;
        }
        if (!reach()) {
            m_connection.reset();
            reconnectLater();
        } else if (std::exchange(m_lostBefore, false)) {
            tell(); // the server is back
        }
    }

    [[nodiscard]] bool reach() {
        const Deadline deadline(answerLimit);
        auto opened = PulseConnection::open(*m_loop, deadline);
        if (!opened) {
            return false;
        }
        m_connection = std::move(*opened);
        const auto listening = m_connection->listen(
            static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER | PA_SUBSCRIPTION_MASK_SOURCE),
            [weak = weak_from_this()](pa_subscription_event_type_t kind, std::uint32_t index) {
                if (const auto self = weak.lock()) {
                    self->heard(kind, index);
                }
            },
            [weak = weak_from_this()](const QString&) {
                if (const auto self = weak.lock()) {
                    self->m_queue->post([self] { self->lost(); });
                }
            },
            deadline);
        return listening && *listening && learnInputs() && compareDefault();
    }

    void lost() {
        m_connection.reset();
        reconnectLater();
    }

    void reconnectLater() {
        m_lostBefore = true;
        m_queue->after(reconnectDelay, [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->connect();
            }
        });
    }

    /// On the loop's thread.
    void heard(pa_subscription_event_type_t kind, std::uint32_t index) {
        const auto facility = kind & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
        const auto type = kind & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
        if (facility == PA_SUBSCRIPTION_EVENT_SERVER) {
            m_queue->post([self = shared_from_this()] { self->ifConnected(&Work::compareDefault); });
        } else if (type == PA_SUBSCRIPTION_EVENT_NEW) {
            m_queue->post([self = shared_from_this()] { self->ifConnected(&Work::learnInputs); });
        } else if (type == PA_SUBSCRIPTION_EVENT_REMOVE) {
            m_queue->post([self = shared_from_this(), index] {
                if (self->m_inputs.erase(index) > 0) {
                    self->tell();
                }
            });
        }
    }

    void ifConnected(bool (Work::*question)()) {
        if (m_connection) {
            static_cast<void>((this->*question)()); // no answer: the server is dying, which is told by itself
        }
    }

    /// Which sources are microphones, so that a monitor that goes is not taken for one.
    [[nodiscard]] bool learnInputs() {
        const auto sources = m_connection->sources(Deadline(answerLimit));
        if (!sources) {
            return false;
        }
        for (const auto& source : *sources) {
            if (!source.playsBack) {
                m_inputs.insert(source.index);
            }
        }
        return true;
    }

    /// A server announces one change several times, and some name the default by its alias in between.
    [[nodiscard]] bool compareDefault() {
        const auto defaults = m_connection->defaults(Deadline(answerLimit));
        if (!defaults) {
            return false;
        }
        if (!defaults->source.starts_with('@') && std::exchange(m_known, defaults->source) != defaults->source) {
            tell();
        }
        return true;
    }

    void tell() {
        const std::lock_guard lock(m_lock);
        if (m_onChange) {
            m_onChange();
        }
    }

    std::shared_ptr<PulseLoop> m_loop;
    std::shared_ptr<base::SerialQueue> m_queue = std::make_shared<base::SerialQueue>("com.orvane.tarvex.mic.watch");

    // The state of the queue.
    std::unique_ptr<PulseConnection> m_connection;
    std::set<std::uint32_t> m_inputs;
    std::string m_known;
    bool m_lostBefore = false;
    bool m_ended = false;

    std::mutex m_lock;
    std::function<void()> m_onChange; // guarded by m_lock
};

PulseInputWatch::PulseInputWatch(std::shared_ptr<PulseLoop> loop, std::string known, std::function<void()> onChange)
    : m_work(std::make_shared<Work>(std::move(loop), std::move(known), std::move(onChange))) {
    m_work->begin();
}

PulseInputWatch::~PulseInputWatch() {
    m_work->end();
}

} // namespace platform::linux_desktop
