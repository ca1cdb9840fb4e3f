// The default audio input, as narrow as the recorder needs it.
//   Threads  open, watch, Stream::start and the end of a stream or watch: the owner's control queue, where open may
//            block for as long as the platform's start does, but not for ever. onBlock: the backend's audio thread;
//            copy and return. Every other handler: any
//   Owns     the handlers, until the stream (or watch) has ended; none is called after that
//   Errors   open() says why; a later loss comes once, through onLost
//   Stamps   capture times on the host clock, corrected for the device's latency: always finite, never ahead of now,
//            and each block begins where the one before it ended unless sound is missing in between
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

    /// Holds its device for as long as it lives, and is silent until start().
    class Stream {
    public:
        Stream() = default;
        Stream(const Stream&) = delete;
        Stream& operator=(const Stream&) = delete;
        virtual ~Stream() = default;
        /// From now on blocks flow. Call it once, when the stream that this one replaces has ended.
        virtual void start() = 0;
    };

    /// Alive for as long as the changes of devices are wanted.
    class Watch {
    public:
        Watch() = default;
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;
        virtual ~Watch() = default;
    };

    virtual ~AudioInput() = default;
    /// A new stream on the input that is the default now, beside one that may still run: the old one is let go only
    /// when this one is there, and a failure leaves it as it was. `replaced` (or null) is that old one: what it has
    /// delivered is not delivered again. A default that only plays back what the loudspeakers get is no microphone.
    [[nodiscard]] virtual std::expected<std::unique_ptr<Stream>, CaptureError> open(Handlers handlers,
                                                                                    const Stream* replaced) = 0;
    /// Calls `onChange` when the default input is another one, when an input device went, and when the sound server
    /// came back. Several calls may come for one change.
    [[nodiscard]] virtual std::unique_ptr<Watch> watch(std::function<void()> onChange) = 0;
};

} // namespace capture
