// What the computer plays to its user, as narrow as the recorder needs it: 48000 Hz, two channels, without the sound
// that this program plays itself.
//   Threads  start: any, returns at once. onBlock: the backend's audio thread; copy and return. The other handlers: any
//   Owns     the handlers, until the stream has ended; none is called after ~Stream has returned
//   Stamps   as in AudioInput
#pragma once

#include "capture/AudioBlock.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace capture {

class SystemAudioSource {
public:
    struct Handlers {
        /// Once: nullopt when sound is flowing, else the platform's text. It may come late, or never.
        std::function<void(std::optional<QString> error)> onStarted;
        std::function<void(const AudioBlock&)> onBlock;
        /// After a successful start, at most once: the stream ended by itself, with the platform's text. A change of
        /// the default loudspeaker is no end: the stream follows it.
        std::function<void(QString error)> onStopped;
    };

    class Stream {
    public:
        Stream() = default;
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        virtual ~Stream() = default;
        /// Ends the capture, started or not; `done` (may be empty) is called when it has ended, or never.
        virtual void stop(std::function<void()> done) = 0;
    };

    virtual ~SystemAudioSource() = default;
    [[nodiscard]] virtual std::shared_ptr<Stream> start(Handlers handlers) = 0;
};

} // namespace capture
