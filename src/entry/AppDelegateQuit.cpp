// The controller's part in ending the program, and the recovery at its start that an end may have to wait for.

#include "base/Environment.h"
#include "base/Output.h"
#include "entry/AppDelegate.h"
#include "entry/QuitPolicy.h"
#include "entry/SingleInstance.h"
#include "entry/StatusItemPrefs.h"
#include "store/AppPaths.h"

#include <algorithm>

namespace entry {

using namespace Qt::StringLiterals;

// ---- Quitting

AppDelegate::TerminateReply AppDelegate::shouldTerminate() {
    if (m_mainWindow) {
        m_mainWindow->commitEdits();
    }
    m_seams.form.skipAll();
    m_keep.resolve(practice::KeepEvent::Quitting);
    if (m_terminating) {
        return TerminateReply::Later;
    }
    m_seams.ai.holdFurther();
    if (m_seams.ai.busy() && (m_poweringOff || !m_seams.ai.summarizing())) {
        m_seams.ai.cancelRunning();
    }
    if (m_state == RecorderState::Idle && !m_recovering && (m_poweringOff || !m_seams.ai.busy())) {
        return TerminateReply::Now;
    }
    m_terminating = true;
    if (m_state == RecorderState::Recording) {
        stopRecording();
    }
    armTerminateWatchdog();
    return TerminateReply::Later;
}

void AppDelegate::armTerminateWatchdog() {
    double limit = QuitPolicy::limit(QuitPolicy::terminateWaitLimit(), m_convertingSeconds);
    if (m_seams.ai.busy()) {
        limit = std::max(limit, QuitPolicy::aiWait());
    }
    mainQueue().after(limit, weakly([watchdog = ++m_terminateWatchdog, limit](AppDelegate& self) {
                          if (self.m_terminating && self.m_terminateWatchdog == watchdog) {
                              self.terminateWaitOver(limit);
                          }
                      }));
}

void AppDelegate::terminateWaitOver(double limit) {
    const auto seconds = QString::number(static_cast<std::int64_t>(limit));
    base::printLine(QString(u"quit: gave up waiting after "_s + seconds + u" seconds"_s));
    if (m_seams.ai.busy()) {
        m_seams.ai.cancelRunning();
    }
    m_terminating = false;
    m_seams.endProgram(true);
}

void AppDelegate::endQuit() {
    m_terminating = false;
    m_seams.endProgram(false);
}

void AppDelegate::powerOff() {
    m_poweringOff = true;
    m_seams.ai.holdFurther();
    m_seams.ai.cancelRunning();
}

void AppDelegate::aiFinished() {
    if (m_terminating && m_state == RecorderState::Idle && !m_recovering && !m_seams.ai.busy()) {
        endQuit();
    }
}

void AppDelegate::willTerminate() {
    m_keep.resolve(practice::KeepEvent::Quitting);
    SingleInstance::release(store::AppPaths::root());
    if (base::Environment::testMode()) {
        StatusItemPrefs::forgetTest(m_services.defaults);
    }
}

// ---- Recovery

void AppDelegate::runRecovery() {
    m_seams.recovery.clearStaleLock();
    if (m_seams.recovery.recordingElsewhere()) {
        return; // its folder and the queue are the other process's business
    }
    m_recovering = true;
    m_recoveringFolders = m_seams.recovery.pending();
    auto& dispatch = m_services.recording.dispatch;
    const auto heal = [run = m_seams.recovery.run, &dispatch,
                       ended = weakly([](AppDelegate& self, const QStringList& lines) { self.recoveryEnded(lines); })] {
        dispatch.background(base::Priority::Utility, [run, &dispatch, ended] {
            dispatch.main().post([ended, lines = run()] { ended(lines); });
        });
    };
    const double hold = base::Environment::testNumber("TARVEX_RECOVERY_HOLD", 0);
    if (hold > 0) {
        mainQueue().after(hold, heal); // so that a self-test can see what is hidden meanwhile
    } else {
        heal();
    }
}

void AppDelegate::recoveryEnded(const QStringList& lines) {
    for (const QString& line : lines) {
        base::printLine(line);
    }
    m_recovering = false;
    m_recoveringFolders.clear();
    rebuildMenu();
    if (m_mode == Mode::Ordinary) {
        m_seams.resumeQueue(); // a self-test looks at its own recording alone
    }
    if (m_mainWindow) {
        m_mainWindow->reload();
    }
    if (m_terminating && m_state == RecorderState::Idle && !m_seams.ai.busy()) {
        endQuit();
    }
}

} // namespace entry
