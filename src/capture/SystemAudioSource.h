// What the computer plays to its user, as narrow as the recorder needs it.
//   Threads  every operation: any, returns at once. onBlock: the backend's audio thread; copy and return. Replies and
//            onStopped: any
//   Owns     the handlers and replies, until the stream has ended; none is called after ~Stream has returned
//   Stamps   as in AudioInput
#pragma once

#include "capture/AudioBlock.h"
#include "capture/ScreenSource.h"

#include <QString>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace capture {

class SystemAudioSource {
public:
    struct Settings {
        double sampleRate = 48000.0;
        int channelCount = 2;
        bool excludesCurrentProcessAudio = true; ///< what this program plays itself stays out
        bool operator==(const Settings&) const = default;
    };

    struct Handlers {
        std::function<void(const AudioBlock&)> onBlock;
        /// After a successful start, at most once: the stream ended by itself, with the platform's text. A change of
        /// the default loudspeaker is no end: the stream follows it.
        std::function<void(QString error)> onStopped;
    };

    /// Nothing is captured before startCapture() nor after the end of the object.
    class Stream {
    public:
        using StartReply = std::function<void(std::optional<QString> error)>;
        using StopReply = std::function<void()>;

        Stream() = default;
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        virtual ~Stream() = default;
        /// `reply` comes once: nullopt when sound is flowing, else the platform's text. It may come late, or never.
        virtual void startCapture(StartReply reply) = 0;
        /// Ends the capture, started or not; `reply` (may be empty) is called when it has ended, or never.
        virtual void stopCapture(StopReply reply) = 0;
    };

    virtual ~SystemAudioSource() = default;
    /// A stream of all that the computer plays. Where sound belongs to no display, `display` makes no difference.
    [[nodiscard]] virtual std::expected<std::shared_ptr<Stream>, QString>
    makeStream(const Display& display, const Settings& settings, Handlers handlers) = 0;
};

} // namespace capture
