// The controller's part from the stop of a recording to its complete folder.

#include "base/Files.h"
#include "base/Output.h"
#include "base/Text.h"
#include "copy/Strings.h"
#include "entry/AppDelegate.h"
#include "store/MeetingArchive.h"

#include <memory>
#include <utility>

namespace entry {

namespace fs = std::filesystem;
namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;

void AppDelegate::stopRecording() {
    if (m_state != RecorderState::Recording || !m_session) {
        return;
    }
    m_state = RecorderState::Stopping;
    m_tickTimer.reset();
    updateButton();
    rebuildMenu();
    m_session->stop(weakly([](AppDelegate& self, double seconds) {
                        self.m_convertingSeconds = seconds;
                        if (self.m_terminating) {
                            self.armTerminateWatchdog(); // only now is it known how much there is to convert
                        }
                    }),
                    weakly([](AppDelegate& self, const store::StoppedSession& stopped) { self.stopped(stopped); }));
}

void AppDelegate::stopped(const store::StoppedSession& stopped) {
    m_convertingSeconds.reset();
    m_session.reset();
    m_state = RecorderState::Idle;
    m_practicing = false;
    updateButton();
    rebuildMenu();
    pruneInBackground();
    if (stopped.practice) {
        finishPractice(stopped);
    } else if (m_terminating) {
        finishWhileTerminating(stopped);
    } else {
        askAbout(stopped);
    }
}

void AppDelegate::askAbout(const store::StoppedSession& stopped) {
    ++m_formsShown;
    ++m_openForms;
    // A form ends once, saved or skipped; whatever it says after that is too late.
    const auto answered = std::make_shared<bool>(false);
    m_seams.form.open(
        stopped, weakly([stopped, answered](AppDelegate& self, const std::optional<store::MeetingAnswers>& answers) {
            if (!std::exchange(*answered, true)) {
                self.finishForm(stopped, answers);
            }
        }));
    pushWindowState();
}

void AppDelegate::finishForm(const store::StoppedSession& stopped,
                             const std::optional<store::MeetingAnswers>& answers) {
    const fs::path final = store::MeetingArchive::finalize(
        stopped, answers, weakly([](AppDelegate& self, const QString& text) { self.addWarning(text); }),
        m_services.recording.wallClock.timeZone());
    m_lastSaved = base::nameText(final);
    const QString note = answers ? base::Text::trimmed(answers->note) : QString();
    m_services.notifier.post(Strings::notifySaved(note.isEmpty() ? *m_lastSaved : note));
    --m_openForms;
    m_pendingFolders.remove(base::standardizedText(stopped.folder)); // the name that began() put in
    updateButton();
    rebuildMenu();
    if (m_mainWindow) {
        m_mainWindow->reload();
    }
    if (answers && !m_terminating) {
        m_seams.autoGenerate(final);
    }
    if (m_seams.selfTest.finished) {
        m_seams.selfTest.finished(stopped, final);
    }
}

void AppDelegate::finishPractice(const store::StoppedSession& stopped) {
    const fs::path folder = store::MeetingArchive::finalize(
        stopped, store::MeetingAnswers(), weakly([](AppDelegate& self, const QString& text) { self.addWarning(text); }),
        m_services.recording.wallClock.timeZone());
    m_pendingFolders.remove(base::standardizedText(folder));
    if (m_terminating) {
        if (!m_seams.ai.busy()) {
            endQuit();
        }
        return;
    }
    m_lastSaved = base::nameText(folder);
    m_services.notifier.post(Strings::notifySaved(m_seams.practiceTitle(stopped)));
    updateButton();
    rebuildMenu();
    m_keep.ask(folder);
    makeMainWindow();
    if (m_mainWindow) {
        m_mainWindow->askKeep(folder);
    }
    if (m_seams.selfTest.finished) {
        m_seams.selfTest.finished(stopped, folder);
    }
}

void AppDelegate::discardPractice(const fs::path& folder) {
    if (const auto moved = m_seams.moveToTrash(folder); !moved) {
        addWarning(Strings::keepDiscardFailed(moved.error().text)); // it stays, as a take that is kept
        return;
    }
    if (m_lastSaved == base::nameText(folder)) {
        m_lastSaved.reset();
    }
    if (m_seams.selfTest.discarded) {
        m_seams.selfTest.discarded(folder);
    }
    updateButton();
    rebuildMenu();
    if (m_mainWindow) {
        m_mainWindow->reload();
    }
}

void AppDelegate::finishWhileTerminating(const store::StoppedSession& stopped) {
    (void)store::MeetingArchive::finalize(
        stopped, std::nullopt,
        [](const QString& text) { base::printLine(QString(u"warning: "_s + text)); }, // nobody is left to see it
        m_services.recording.wallClock.timeZone());
    m_pendingFolders.remove(base::standardizedText(stopped.folder));
    if (!m_seams.ai.busy()) {
        endQuit();
    }
}

void AppDelegate::pruneInBackground() {
    m_services.recording.dispatch.background(base::Priority::Utility, m_seams.prune);
}

} // namespace entry
