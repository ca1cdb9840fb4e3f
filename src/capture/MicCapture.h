// The microphone of a recording: whatever the default input is, opened anew whenever that changes or fails, without
// the recording noticing more than a short hole.
//   Threads  create, restartNow: any. start, stop, restartCount: any but the control queue; they wait for it. onError
//   is
//            set and called on the main thread
//   Owns     its stream; who made it calls stop(). The input and the dispatch must outlive it
//   Errors   start() says why; later failures are tried again and, after the fourth, told once through onError
#pragma once

#include "base/Dispatch.h"
#include "capture/AudioInput.h"
#include "capture/CaptureError.h"
#include "capture/CaptureSink.h"

#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace capture {

class MicCapture final : public std::enable_shared_from_this<MicCapture> {
public:
    /// Seconds between the last word about a device and the reopening: the system needs them to finish its change.
    static constexpr double settleDelay = 0.5;
    /// Seconds that a caller waits for start() before it gives the recording up: 45, or TARVEX_MIC_TIMEOUT in test
    /// mode.
    [[nodiscard]] static double startTimeout();

    /// Nothing is opened yet. Blocks go to `writer`, which may go away at any time.
    [[nodiscard]] static std::shared_ptr<MicCapture> create(AudioInput& input, base::Dispatch& dispatch,
                                                            std::weak_ptr<CaptureSink> writer);
    ~MicCapture();

    /// Opens the default input and follows it from then on. Blocks for as long as the platform does.
    [[nodiscard]] std::optional<CaptureError> start();
    /// For good. When it returns, no block reaches the writer's queue any more and nothing can reopen.
    void stop();
    /// Reopens at once, without the wait for the system to settle.
    void restartNow();
    /// Reopenings that succeeded.
    [[nodiscard]] int restartCount();

    std::function<void(QString text)> onError;

private:
    MicCapture(AudioInput& input, base::Dispatch& dispatch, std::weak_ptr<CaptureSink> writer);

    // All of these run on the control queue, scheduleRestart() anywhere.
    [[nodiscard]] std::optional<CaptureError> openSession();
    void restart(int attempt);
    void sessionFailed(int session);
    void scheduleRestart();

    AudioInput& m_input;
    base::Scheduler& m_main;
    std::weak_ptr<CaptureSink> m_writer;
    std::shared_ptr<base::Scheduler> m_control;

    // The state of the control queue.
    std::unique_ptr<AudioInput::Stream> m_session;
    int m_sessionNumber = 0; ///< which open made m_session
    int m_opens = 0;
    std::unique_ptr<AudioInput::Watch> m_inputListener;
    bool m_stopped = false;
    int m_generation = 0;
    int m_restarts = 0;
};

} // namespace capture
