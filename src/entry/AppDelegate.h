// The controller of the program: the state machine of recording, what the user is told about it, its end. Every action
// that starts or stops something lands here, and every other part reports here.
//   Units    seconds
//   Threads  the main thread alone; work in the background comes back to it
//   Owns     at most one recording, and the window from its first need on. Callbacks hold the controller weakly
//   Errors   none leaves it: a failed start becomes the notice, trouble of a running recording a warning; both stay
//   until
//            the next start
#pragma once

#include "base/PreferenceStore.h"
#include "entry/AppSeams.h"
#include "entry/Notifier.h"
#include "entry/Opener.h"
#include "entry/RecorderState.h"
#include "entry/RecordingSession.h"
#include "entry/StatusItem.h"
#include "entry/StatusMenu.h"
#include "practice/PracticeKeepFlow.h"
#include "store/AppPaths.h"
#include "store/MeetingLibrary.h"
#include "store/PeopleStore.h"
#include "store/TypeStore.h"
#include "ui/Notice.h"
#include "ui/Permissions.h"
#include "ui/RecorderWindow.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace entry {

class AppDelegate : public std::enable_shared_from_this<AppDelegate> {
public:
    static constexpr QStringView screenshotsKey = u"screenshotsEnabled";
    static constexpr QStringView autoSummaryKey = u"autoSummaryAfterRecording";
    /// A microphone that takes longer to open is said to. Seconds.
    static constexpr double micSlowAfter = 10.0;
    static constexpr double tickInterval = 1.0;          ///< seconds
    static constexpr double retentionInterval = 86400.0; ///< seconds

    struct Services {
        RecordingSession::Services recording;
        base::PreferenceStore& defaults;
        ui::Permissions& permissions;
        Notifier& notifier;
        Opener& opener;
        StatusItem& statusItem;
    };

    /// Whether a self-test drives the program.
    enum class Mode { Ordinary, SelfTest };
    enum class TerminateReply { Now, Later };

    [[nodiscard]] static std::shared_ptr<AppDelegate> create(const Services& services, AppSeams seams,
                                                             Mode mode = Mode::Ordinary);

    // Launch and end.
    /// In the order of a launch: preferences, folders, recovery, tray, timers. Opens no window and starts nothing.
    void didFinishLaunching();
    void runRecovery();
    [[nodiscard]] TerminateReply shouldTerminate();
    /// The last step before the process ends.
    void willTerminate();
    /// The machine goes down: nothing waits for AI work any more.
    void powerOff();
    /// AI work has ended.
    void aiFinished();

    // What menus, tray and window ask for.
    void begin(bool practice);
    void stopRecording();
    void toggleRecording();
    void takeShot();
    void toggleScreenshots();
    void showMainWindow();
    void openLatest();
    void openAll();
    void openNotice();

    // What others report and ask.
    void addWarning(const QString& text);
    void askAbout(const store::StoppedSession& stopped);
    /// Throws a practice take away: the answer "discard" to its question.
    void discardPractice(const std::filesystem::path& folder);
    void updateButton();
    void rebuildMenu();
    void pushWindowState();
    [[nodiscard]] std::optional<QString> windowNotice() const;
    [[nodiscard]] store::MeetingLibrary::FolderSet busyFolders() const; ///< what the library leaves out
    [[nodiscard]] QString menuBarIconLine() const;

    [[nodiscard]] RecorderState state() const { return m_state; }

    [[nodiscard]] bool practicing() const { return m_practicing; }

    [[nodiscard]] bool terminating() const { return m_terminating; }

    [[nodiscard]] bool recovering() const { return m_recovering; }

    [[nodiscard]] bool micSlow() const { return m_micSlow; }

    [[nodiscard]] int formsShown() const { return m_formsShown; }

    [[nodiscard]] const std::optional<ui::Notice>& notice() const { return m_notice; }

    [[nodiscard]] const QStringList& warnings() const { return m_warnings; }

    [[nodiscard]] const std::optional<QString>& lastSaved() const { return m_lastSaved; }

    [[nodiscard]] const store::MeetingLibrary::FolderSet& pendingFolders() const { return m_pendingFolders; }

    [[nodiscard]] const store::MeetingLibrary::FolderSet& recoveringFolders() const { return m_recoveringFolders; }

    [[nodiscard]] const std::vector<double>& micLevels() const { return m_micLevels; }

    [[nodiscard]] const std::vector<double>& systemLevels() const { return m_systemLevels; }

    [[nodiscard]] const std::shared_ptr<RecordingSession>& session() const { return m_session; }

    /// The names and meeting types of this data root; one of each for the whole program.
    [[nodiscard]] store::PeopleStore& people() { return m_people; }

    [[nodiscard]] store::TypeStore& types() { return m_types; }

    /// The question whether a practice take is kept.
    [[nodiscard]] practice::PracticeKeepFlow& keep() { return m_keep; }

    /// The window, once it was needed; nullptr before.
    [[nodiscard]] ui::RecorderWindow* mainWindow() const { return m_mainWindow.get(); }

private:
    AppDelegate(const Services& services, AppSeams seams, Mode mode);

    void connectKeepFlow();
    void connectStatusItem();

    // Starting.
    void microphoneAnswered(bool practice, bool granted);
    void watchForSlowMicrophone();
    void startSession(bool practice, bool screenCapture);
    void began(const std::shared_ptr<RecordingSession>& session);
    void connectSession(RecordingSession& session);
    void fail(const ui::Notice& notice);

    // While it runs.
    void levelsCame(double mic, std::optional<double> system);
    void updateMeterItems();
    void clearWarning(const QString& text);

    // Stopping and finishing.
    void stopped(const store::StoppedSession& stopped);
    void finishForm(const store::StoppedSession& stopped, const std::optional<store::MeetingAnswers>& answers);
    void finishPractice(const store::StoppedSession& stopped);
    void finishWhileTerminating(const store::StoppedSession& stopped);
    void pruneInBackground();

    // Ending.
    void armTerminateWatchdog();
    void terminateWaitOver(double limit);
    void endQuit();
    void recoveryEnded(const QStringList& lines);

    // Showing.
    [[nodiscard]] StatusMenu::Input statusInput() const;
    [[nodiscard]] ui::AppMenuState menuState() const;
    [[nodiscard]] ui::RecordButtonState buttonState() const;
    [[nodiscard]] QString micMeterTitle() const;
    [[nodiscard]] QString systemMeterTitle() const;
    void makeMainWindow();
    void windowClosed();
    void act(MenuAction action);

    /// A callback that does nothing once the controller has gone: `call` gets the controller first.
    template<typename Call>
    [[nodiscard]] auto weakly(Call call) {
        return [self = weak_from_this(), call = std::move(call)](auto&&... arguments) {
            if (const auto app = self.lock()) {
                call(*app, std::forward<decltype(arguments)>(arguments)...);
            }
        };
    }

    [[nodiscard]] base::Scheduler& mainQueue() const { return m_services.recording.dispatch.main(); }

    Services m_services;
    AppSeams m_seams;
    const Mode m_mode;
    RecorderState m_state = RecorderState::Idle;
    std::shared_ptr<RecordingSession> m_session; ///< from began until its stop has completed
    bool m_practicing = false;
    int m_formsShown = 0;
    int m_openForms = 0;
    store::PeopleStore m_people{store::AppPaths::people()};
    store::TypeStore m_types{store::AppPaths::types()};
    practice::PracticeKeepFlow m_keep;
    std::optional<ui::Notice> m_notice;
    QStringList m_warnings; ///< in the order of their arrival, none twice
    std::optional<QString> m_lastSaved;
    std::unique_ptr<base::Timer> m_tickTimer;
    std::unique_ptr<base::Timer> m_retentionTimer;
    std::vector<double> m_micLevels;
    std::vector<double> m_systemLevels;
    std::unique_ptr<ui::RecorderWindow> m_mainWindow;
    store::MeetingLibrary::FolderSet m_pendingFolders;    ///< standardized; between began and the finished form
    store::MeetingLibrary::FolderSet m_recoveringFolders; ///< standardized
    bool m_poweringOff = false;
    bool m_terminating = false; ///< a quit was answered "later" and is owed its end
    std::optional<double> m_convertingSeconds;
    std::int64_t m_terminateWatchdog = 0; ///< generation; an older watchdog does nothing
    bool m_micSlow = false;
    std::int64_t m_startToken = 0; ///< generation of attempts to start
    bool m_recovering = false;
};

} // namespace entry
