// The default audio input, as narrow as the recorder needs it.
//   Threads  open, watch and the end of a stream or watch: the owner's control queue, where open may block for as long
//            as the platform's start does. onBlock: the backend's audio thread; copy and return. Every other handler:
//            any
//   Owns     the handlers, until the stream (or watch) has ended; none is called after that
//   Errors   open() says why; a later loss comes once, through onLost
//   Stamps   capture times on the host clock, corrected for the device's latency, always finite and never ahead of now
#pragma once

#include "capture/AudioBlock.h"
#include "capture/CaptureError.h"

#include <QString>

#include <expected>
#include <functional>
#include <memory>

namespace capture {

class AudioInput {
public:
    struct Handlers {
        std::function<void(const AudioBlock&)> onBlock;
        std::function<void(QString reason)> onLost; ///< a running capture failed, its device or the server is gone
    };

    /// Running for as long as it lives.
    class Stream {
    public:
        Stream() = default;
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        virtual ~Stream() = default;
    };

    /// Alive for as long as the changes of devices are wanted.
    using Watch = Stream;

    virtual ~AudioInput() = default;
    /// A new stream on the input that is the default now, beside one that may still run: the old one is let go only
    /// when this one is there. A default that only plays back what the loudspeakers get is no microphone.
    [[nodiscard]] virtual std::expected<std::unique_ptr<Stream>, CaptureError> open(Handlers handlers) = 0;
    /// Calls `onChange` when the default input is another one, when an input device came or went, and when the sound
    /// server came back. Several calls may come for one change.
    [[nodiscard]] virtual std::unique_ptr<Watch> watch(std::function<void()> onChange) = 0;
};

} // namespace capture
