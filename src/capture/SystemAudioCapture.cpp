#include "capture/SystemAudioCapture.h"

#include "capture/FirstWins.h"
#include "capture/RetryPolicy.h"
#include "copy/Strings.h"

#include <algorithm>
#include <utility>

namespace capture {

QString SystemAudioTimeout::text() const {
    return copy::Strings::systemAudioTimeout;
}

/// One try to start a stream. The confirmation and the time limit race for `race`.
struct SystemAudioCapture::Opening {
    std::shared_ptr<SystemAudioSource::Stream> stream;
    int number = 0;
    std::shared_ptr<FirstWins> race = std::make_shared<FirstWins>();
    Done done;
};

std::shared_ptr<SystemAudioCapture> SystemAudioCapture::create(SystemAudioSource& source, ScreenSource& screens,
                                                               base::Dispatch& dispatch,
                                                               std::weak_ptr<CaptureSink> writer) {
    return std::shared_ptr<SystemAudioCapture>(new SystemAudioCapture(source, screens, dispatch, std::move(writer)));
}

SystemAudioCapture::SystemAudioCapture(SystemAudioSource& source, ScreenSource& screens, base::Dispatch& dispatch,
                                       std::weak_ptr<CaptureSink> writer)
    : m_source(source)
    , m_screens(screens)
    , m_main(dispatch.main())
    , m_writer(std::move(writer))
    , m_control(dispatch.makeSerialQueue("com.orvane.tarvex.system.control", base::Priority::Default)) {}

SystemAudioCapture::~SystemAudioCapture() = default;

void SystemAudioCapture::start(const Display& display, std::function<void(std::optional<QString> error)> completion) {
    m_control->post([self = shared_from_this(), display, completion = std::move(completion)] {
        self->open(display, [&main = self->m_main, completion](const std::optional<QString>& error) {
            main.post([completion, error] { completion(error); });
        });
    });
}

void SystemAudioCapture::open(const Display& display, Done done) {
    const int number = ++m_opens;
    auto made = m_source.makeStream(
        display, settings,
        {
            .onBlock = [writer = m_writer](const AudioBlock& block) { deliver(writer, block); },
            .onStopped =
                [weak = weak_from_this(), control = std::weak_ptr(m_control), number](const QString& error) {
                    if (const auto queue = control.lock()) {
                        queue->post([weak, queue, number, error] {
                            if (const auto self = weak.lock()) {
                                self->streamStopped(number, error);
                            }
                        });
                    }
                },
        });
    if (!made) {
        done(std::move(made.error()));
        return;
    }
    const Opening opening{.stream = std::move(*made), .number = number, .done = std::move(done)};
    // The reply holds the queue, so that a stream which starts after its capture has gone is still shut down; the task
    // holds it too, so that it is never let go, which waits for its thread, on the platform's own.
    opening.stream->startCapture(
        [weak = weak_from_this(), control = m_control, opening](const std::optional<QString>& error) {
            control->post([weak, control, opening, error] {
                if (const auto self = weak.lock()) {
                    self->captureStarted(opening, error);
                } else if (!error) {
                    opening.stream->stopCapture({}); // nobody is left to own it
                }
            });
        });
    m_control->after(startTimeout, [opening] {
        if (opening.race->claim()) {
            opening.stream->stopCapture({});
            opening.done(SystemAudioTimeout{}.text());
        }
    });
}

void SystemAudioCapture::captureStarted(const Opening& opening, const std::optional<QString>& error) {
    const bool inTime = opening.race->claim();
    if (error) {
        if (inTime) {
            opening.done(error);
        }
        return;
    }
    // A stream that nobody waits for any more must not go on by itself.
    if (!inTime || m_stopped) {
        opening.stream->stopCapture({});
    } else {
        m_stream = opening.stream;
        m_streamNumber = opening.number;
    }
    if (inTime) {
        opening.done(std::nullopt);
    }
}

void SystemAudioCapture::streamStopped(int stream, const QString& error) {
    if (m_stopped || !m_stream || stream != m_streamNumber) {
        return;
    }
    m_stream.reset();
    reconnect(1, error);
}

void SystemAudioCapture::reconnect(int attempt, const QString& lastError) {
    if (RetryPolicy::shouldRetry(attempt)) {
        m_control->after(RetryPolicy::delay, [weak = weak_from_this(), attempt, lastError] {
            if (const auto self = weak.lock(); self && !self->m_stopped) {
                self->askForContent(attempt, lastError);
            }
        });
        return;
    }
    m_main.post([weak = weak_from_this(), text = copy::Strings::systemAudioStopped(lastError)] {
        if (const auto self = weak.lock(); self && self->onError) {
            self->onError(text);
        }
    });
}

void SystemAudioCapture::askForContent(int attempt, const QString& lastError) {
    m_screens.content([weak = weak_from_this(), control = std::weak_ptr(m_control), attempt,
                       lastError](const std::expected<ScreenContent, QString>& content) {
        if (const auto queue = control.lock()) {
            queue->post([weak, queue, attempt, lastError, content] {
                if (const auto self = weak.lock(); self && !self->m_stopped) {
                    self->reopen(attempt, lastError, content);
                }
            });
        }
    });
}

void SystemAudioCapture::reopen(int attempt, const QString& lastError,
                                const std::expected<ScreenContent, QString>& content) {
    if (!content) {
        reconnect(attempt + 1, content.error().isEmpty() ? lastError : content.error());
        return;
    }
    const auto& displays = content->displays;
    if (displays.empty()) {
        reconnect(attempt + 1, lastError);
        return;
    }
    const auto main = std::ranges::find(displays, content->mainDisplay, &Display::id);
    open(main == displays.end() ? displays.front() : *main,
         [weak = weak_from_this(), attempt](const std::optional<QString>& error) {
             if (const auto self = weak.lock(); self && error) {
                 self->reconnect(attempt + 1, *error);
             }
         });
}

void SystemAudioCapture::stop(std::function<void()> completion) {
    m_control->post([self = shared_from_this(), completion = std::move(completion)] {
        self->m_stopped = true;
        if (!self->m_stream) {
            completion();
            return;
        }
        const auto stream = std::exchange(self->m_stream, nullptr);
        const auto race = std::make_shared<FirstWins>();
        // The reply may come on the thread that carries all sound, so what follows it, which may take minutes, runs
        // here.
        stream->stopCapture([race, completion, control = std::weak_ptr(self->m_control)] {
            if (race->claim()) {
                if (const auto queue = control.lock()) {
                    queue->post([queue, completion] { completion(); });
                }
            }
        });
        // Holds the stream too: it has not ended before its reply.
        self->m_control->after(stopTimeout, [self, stream, race, completion] {
            if (race->claim()) {
                completion();
            }
        });
    });
}

} // namespace capture
