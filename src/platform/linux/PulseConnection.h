// A connection to the sound server, and what can be asked through it. Its questions wait for their answers, but never
// beyond their deadline, whatever state the server is in.
//   Threads  open and the questions: any thread but the loop's, one at a time. Listeners are called on the thread of
//            the loop and must not ask anything there
//   Owns     itself only; streams opened through it must end before it
//   Errors   the texts of the platform, ready to be shown
#pragma once

#include "base/Handle.h"
#include "platform/linux/PulseLoop.h"

#include <QString>
#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/operation.h>
#include <pulse/subscribe.h>

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform::linux_desktop {

/// A moment after which nobody waits any more.
class Deadline {
public:
    explicit Deadline(double secondsFromNow);

    [[nodiscard]] pa_usec_t moment() const noexcept { return m_moment; }

    [[nodiscard]] bool passed() const;

private:
    pa_usec_t m_moment;
};

class PulseConnection {
public:
    /// Empty where the server knows none.
    struct Defaults {
        std::string source;
        std::string sink;
        bool operator==(const Defaults&) const = default;
    };

    struct Source {
        std::uint32_t index = 0;
        std::string name;
        QString description;
        bool playsBack = false; ///< a monitor: it gives what loudspeakers get
        pa_sample_spec format{};
        pa_channel_map channels{};
    };

    struct Sink {
        std::uint32_t index = 0;
        std::string name;
        std::string monitor;
    };

    struct SinkInput {
        std::uint32_t index = 0;
        std::uint32_t sink = 0;
        bool ours = false; ///< played by this process
        bool operator==(const SinkInput&) const = default;
    };

    using OnEvent = std::function<void(pa_subscription_event_type_t kind, std::uint32_t index)>;

    template<typename Answer>
    using Answered = std::expected<Answer, QString>;

    [[nodiscard]] static Answered<std::unique_ptr<PulseConnection>> open(PulseLoop& loop, Deadline deadline);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    [[nodiscard]] Answered<Defaults> defaults(Deadline deadline);
    /// nullopt: there is no such source; no source has an empty name.
    [[nodiscard]] Answered<std::optional<Source>> source(const std::string& name, Deadline deadline);
    [[nodiscard]] Answered<std::vector<Source>> sources(Deadline deadline);
    [[nodiscard]] Answered<std::optional<Sink>> sink(const std::string& name, Deadline deadline);
    [[nodiscard]] Answered<std::vector<SinkInput>> sinkInputs(Deadline deadline);

    /// Calls `onEvent` for what happens to the `facilities`, and `onLost` once when the connection has ended by itself.
    [[nodiscard]] Answered<bool> listen(pa_subscription_mask_t facilities, OnEvent onEvent,
                                        std::function<void(QString reason)> onLost, Deadline deadline);

    [[nodiscard]] PulseLoop& loop() noexcept { return m_loop; }

    [[nodiscard]] pa_context* context() noexcept { return m_context.get(); }

    /// Waits until `done` (asked with the lock held), the end of the connection, or the deadline. The lock must be held
    /// exactly once. Nullopt: done; else why not.
    [[nodiscard]] std::optional<QString> waitUntil(const std::function<bool()>& done, Deadline deadline);
    /// The text of the latest error.
    [[nodiscard]] QString errorText() const;

private:
    explicit PulseConnection(PulseLoop& loop) : m_loop(loop) {}

    /// Runs a question whose answer the library puts together through `userdata` until it signals the loop.
    template<typename Reply, typename Ask>
    [[nodiscard]] std::optional<QString> ask(Reply& reply, Deadline deadline, Ask ask);
    void stateChanged();

    PulseLoop& m_loop;
    base::Owned<pa_context, pa_context_unref> m_context;
    OnEvent m_onEvent;
    std::function<void(QString)> m_onLost;
};

/// Whether a sound server answers before the deadline.
[[nodiscard]] bool soundServerAnswers(PulseLoop& loop, Deadline deadline);

} // namespace platform::linux_desktop
