// One capture stream of the sound server, tied to the device it was opened on.
//   Threads  open: any but the loop's. onData, onEnded: the loop's thread; none is called after the destructor
//   Owns     the stream; must end before its connection
//   Errors   open() says why; a later end by itself comes once, through onEnded
#pragma once

#include "platform/linux/PulseConnection.h"
#include "platform/linux/SoundFeed.h"

#include <pulse/stream.h>

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform::linux_desktop {

class PulseRecording {
public:
    /// What is asked for with each arrival. Larger blocks cost less; nobody here waits for the newest. Seconds.
    static constexpr double blockSeconds = 0.05;

    struct Target {
        std::string source;
        pa_sample_spec format{};
        std::optional<pa_channel_map> channels;       ///< nullopt: the usual ones for the count
        std::optional<std::uint32_t> sinkInput = {};  ///< of a monitor: only what this input plays
    };

    struct Handlers {
        std::function<void(const SoundArrival&)> onData;
        std::function<void(QString reason)> onEnded;
    };

    [[nodiscard]] static std::expected<std::unique_ptr<PulseRecording>, QString>
    open(PulseConnection& connection, const Target& target, Handlers handlers, Deadline deadline);
    ~PulseRecording();
    PulseRecording(const PulseRecording&) = delete;
    PulseRecording& operator=(const PulseRecording&) = delete;

    /// The device that the stream really is on.
    [[nodiscard]] std::string device() const;

private:
    PulseRecording(PulseConnection& connection, Handlers handlers)
        : m_connection(connection)
        , m_handlers(std::move(handlers)) {}

    [[nodiscard]] bool connect(const Target& target);
    void stateChanged();
    void read();

    PulseConnection& m_connection;
    Handlers m_handlers;
    base::Owned<pa_stream, pa_stream_unref> m_stream;
    std::size_t m_frameBytes = 1;
    bool m_open = false;
};

} // namespace platform::linux_desktop
