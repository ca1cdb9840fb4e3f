// The other side of a call: what the computer plays. Its failure never ends a recording; it is tried again, and told.
//   Threads  create, start, stop: any; they return at once. onError is set and called on the main thread
//   Owns     its stream; who made it calls stop(). Source, screens and dispatch must outlive it
//   Errors   of the start through its completion; of a running stream, after three failed tries, once through onError
#pragma once

#include "base/Dispatch.h"
#include "capture/AudioTrackWriter.h"
#include "capture/CaptureSink.h"
#include "capture/ScreenSource.h"
#include "capture/SystemAudioSource.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace capture {

/// The stream did not say in time that it runs.
struct SystemAudioTimeout {
    [[nodiscard]] QString text() const;
    bool operator==(const SystemAudioTimeout&) const = default;
};

class SystemAudioCapture final : public std::enable_shared_from_this<SystemAudioCapture> {
public:
    static constexpr double startTimeout = 10.0; ///< seconds
    static constexpr double stopTimeout = 5.0;   ///< seconds
    /// What is asked of each stream.
    static constexpr SystemAudioSource::Settings settings = {
        .sampleRate = AudioTrackWriter::sampleRate, .channelCount = 2, .excludesCurrentProcessAudio = true};

    /// Nothing is opened yet. Blocks go to `writer`, which may go away at any time. `screens` is asked for a display
    /// when a lost stream is opened again.
    [[nodiscard]] static std::shared_ptr<SystemAudioCapture> create(SystemAudioSource& source, ScreenSource& screens,
                                                                    base::Dispatch& dispatch,
                                                                    std::weak_ptr<CaptureSink> writer);
    ~SystemAudioCapture();

    /// `completion` comes once, on the main thread: nullopt, or the text of what went wrong.
    void start(const Display& display, std::function<void(std::optional<QString> error)> completion);
    /// For good. `completion` comes exactly once, within stopTimeout, on the control queue: it may block there.
    void stop(std::function<void()> completion);

    std::function<void(QString text)> onError;

private:
    using Done = std::function<void(std::optional<QString> error)>;
    struct Opening;

    SystemAudioCapture(SystemAudioSource& source, ScreenSource& screens, base::Dispatch& dispatch,
                       std::weak_ptr<CaptureSink> writer);

    // All of these run on the control queue.
    void open(const Display& display, Done done);
    void captureStarted(const Opening& opening, const std::optional<QString>& error);
    void streamStopped(int stream, const QString& error);
    void reconnect(int attempt, const QString& lastError);
    void askForContent(int attempt, const QString& lastError);
    void reopen(int attempt, const QString& lastError, const std::expected<ScreenContent, QString>& content);

    SystemAudioSource& m_source;
    ScreenSource& m_screens;
    base::Scheduler& m_main;
    std::weak_ptr<CaptureSink> m_writer;
    std::shared_ptr<base::Scheduler> m_control;

    // The state of the control queue.
    std::shared_ptr<SystemAudioSource::Stream> m_stream; ///< only once its start has been confirmed
    int m_streamNumber = 0;                              ///< which open made m_stream
    int m_opens = 0;
    bool m_stopped = false;
};

} // namespace capture
