#include "capture/MicCapture.h"

#include "base/Environment.h"
#include "capture/RetryPolicy.h"

#include <utility>

namespace capture {

double MicCapture::startTimeout() {
    return base::Environment::testNumber("TARVEX_MIC_TIMEOUT", 45.0);
}

std::shared_ptr<MicCapture> MicCapture::create(AudioInput& input, base::Dispatch& dispatch,
                                               std::weak_ptr<CaptureSink> writer) {
    return std::shared_ptr<MicCapture>(new MicCapture(input, dispatch, std::move(writer)));
}

MicCapture::MicCapture(AudioInput& input, base::Dispatch& dispatch, std::weak_ptr<CaptureSink> writer)
    : m_input(input)
    , m_main(dispatch.main())
    , m_writer(std::move(writer))
    , m_control(dispatch.makeSerialQueue("com.orvane.tarvex.mic.control", base::Priority::Default)) {}

MicCapture::~MicCapture() = default;

std::optional<CaptureError> MicCapture::start() {
    std::optional<CaptureError> error;
    m_control->sync([&] {
        error = openSession();
        if (!error) {
            m_inputListener = m_input.watch([weak = weak_from_this()] {
                if (const auto self = weak.lock()) {
                    self->scheduleRestart();
                }
            });
        }
    });
    return error;
}

void MicCapture::stop() {
    m_control->sync([&] {
        m_stopped = true;
        m_inputListener.reset();
        m_session.reset();
    });
}

void MicCapture::restartNow() {
    m_control->post([weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->restart(1);
        }
    });
}

int MicCapture::restartCount() {
    int restarts = 0;
    m_control->sync([&] { restarts = m_restarts; });
    return restarts;
}

std::optional<CaptureError> MicCapture::openSession() {
    const int session = ++m_opens;
    auto opened = m_input.open(
        {
            .onBlock = [writer = m_writer](const AudioBlock& block) { deliver(writer, block); },
            .onLost =
                [weak = weak_from_this(), control = std::weak_ptr(m_control), session](const QString&) {
                    if (const auto queue = control.lock()) {
                        queue->post([weak, queue, session] { // so that this is not the last to hold the queue
                            if (const auto self = weak.lock()) {
                                self->sessionFailed(session);
                            }
                        });
                    }
                },
        },
        m_session.get());
    if (!opened) {
        return std::move(opened.error());
    }
    m_session = std::move(*opened); // ends the old one, which has run until here
    m_sessionNumber = session;
    m_session->start();
    return std::nullopt;
}

void MicCapture::sessionFailed(int session) {
    // A session that has been replaced may fail as it likes.
    if (session == m_sessionNumber) {
        scheduleRestart();
    }
}

void MicCapture::scheduleRestart() {
    m_control->post([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self || self->m_stopped) {
            return;
        }
        // The system announces one change of device several times; only the last one counts.
        self->m_control->after(settleDelay, [weak, asked = ++self->m_generation] {
            if (const auto settled = weak.lock(); settled && !settled->m_stopped && settled->m_generation == asked) {
                settled->restart(1);
            }
        });
    });
}

void MicCapture::restart(int attempt) {
    if (m_stopped) {
        return;
    }
    const auto error = openSession();
    if (!error) {
        ++m_restarts;
    } else if (RetryPolicy::shouldRetry(attempt)) {
        m_control->after(RetryPolicy::delay, [weak = weak_from_this(), next = attempt + 1] {
            if (const auto self = weak.lock()) {
                self->restart(next);
            }
        });
    } else {
        m_main.post([weak = weak_from_this(), text = error->text()] {
            if (const auto self = weak.lock(); self && self->onError) {
                self->onError(text);
            }
        });
    }
}

} // namespace capture
