// One capture stream of the sound server, tied to the device it was opened on.
//   Threads  open: any but the loop's. The feed is touched, and onEnded called, on the loop's thread with its lock
//   held,
//            never after the destructor
//   Owns     the stream; must end before its connection and its feed
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
    /// Of a new stream: small blocks say precisely when they were heard. Seconds.
    static constexpr double firstBlockSeconds = 0.005;
    /// Afterwards: large blocks cost less, and nobody here waits for the newest. Seconds.
    static constexpr double blockSeconds = 0.1;

    struct Target {
        std::string source;
        pa_sample_spec format{};
        std::optional<pa_channel_map> channels;      ///< nullopt: the usual ones for the count
        std::optional<std::uint32_t> sinkInput = {}; ///< of a monitor: only what this input plays
    };

    using OnEnded = std::function<void(QString reason)>;

    [[nodiscard]] static std::expected<std::unique_ptr<PulseRecording>, QString>
    open(PulseConnection& connection, const Target& target, SoundFeed& feed, OnEnded onEnded, Deadline deadline);
    ~PulseRecording();
    PulseRecording(const PulseRecording&) = delete;
    PulseRecording& operator=(const PulseRecording&) = delete;

    /// The device that the stream really is on.
    [[nodiscard]] std::string device() const;

private:
    PulseRecording(PulseConnection& connection, SoundFeed& feed, OnEnded onEnded)
        : m_connection(connection)
        , m_feed(feed)
        , m_onEnded(std::move(onEnded)) {}

    [[nodiscard]] bool connect(const Target& target);
    void stateChanged();
    void read();
    void askForWord();
    void takeWord();
    void enlargeBlocks();

    PulseConnection& m_connection;
    SoundFeed& m_feed;
    OnEnded m_onEnded;
    base::Owned<pa_stream, pa_stream_unref> m_stream;
    base::Owned<pa_operation, pa_operation_unref> m_question;
    std::size_t m_frameBytes = 1;
    bool m_largeBlocks = false;
    bool m_open = false;
};

} // namespace platform::linux_desktop
