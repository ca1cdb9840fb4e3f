// One real recording without a person: starts it, disturbs it, stops it, looks at the files and says what it found.
//   Prints   one line each, flushed, since another process reads them
//   Units    seconds
//   Threads  the main thread
//   Owns     nothing: everything it is given outlives it, and it outlives the controller's callbacks
#pragma once

#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "entry/AppDelegate.h"
#include "entry/AppSeams.h"
#include "store/MeetingAnswers.h"
#include "store/StoppedSession.h"

#include <QString>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace selftest {

class AutoTest {
public:
    struct Options {
        double seconds = 0;
        bool practice = false;
        bool keep = true; ///< the answer to the question about a practice take
    };

    /// The restart of the microphone and the picture come after these parts of the recording.
    static constexpr double micRestartPart = 1.0 / 3.0;
    static constexpr double shotPart = 0.5;
    /// Seconds until the form and the question are answered, between two looks at what still works, and at most for all
    /// of them.
    static constexpr double formDelay = 1.0;
    static constexpr double keepDelay = 0.5;
    static constexpr double finishLook = 0.2;
    static constexpr double finishLimit = 300.0;
    /// Seconds from the last line to the end, so that what was printed can be read.
    static constexpr double endDelay = 0.2;

    /// The exit code of a test that failed.
    static constexpr int failed = 1;

    AutoTest(const Options& options, base::Dispatch& dispatch, const base::HostClock& clock);

    /// Hears of the recording and answers its form through `seams`. Before the controller is made.
    void connect(entry::AppSeams& seams);
    /// `quit` asks for the ordinary end; `exit` ends the process at once.
    void run(const std::shared_ptr<entry::AppDelegate>& app, std::function<void()> quit,
             std::function<void(int code)> exit);

    /// What the files of a finished recording lack; empty when all is well.
    [[nodiscard]] static QStringList failures(const std::filesystem::path& folder);
    /// The line that tells the lengths.
    [[nodiscard]] static QString durationLine(const store::StoppedSession& stopped);

private:
    void began(entry::RecordingSession& session);
    void stop(const std::weak_ptr<entry::RecordingSession>& session);
    void openForm(const entry::FormSeam::Finish& finish);
    /// Once: a form that a quit has skipped is not answered any more.
    void endForm(const std::optional<store::MeetingAnswers>& answers);
    void report(const store::StoppedSession& stopped, const std::filesystem::path& folder);
    void answerKeepCard();
    void discarded(const std::filesystem::path& folder);
    void startFailed(const QString& text);
    void finish(double startedWaiting);

    Options m_options;
    base::Scheduler& m_main;
    const base::HostClock& m_clock;
    double m_launched = 0;
    int m_micRestarts = 0;
    entry::FormSeam::Finish m_openForm; ///< empty while none is open
    std::function<bool()> m_aiHasWork;
    std::weak_ptr<entry::AppDelegate> m_app;
    std::function<void()> m_quit;
    std::function<void(int)> m_exit;
};

} // namespace selftest
