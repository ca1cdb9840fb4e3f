#include "app/Application.h"

#include "base/Dispatch.h"
#include "base/Environment.h"
#include "base/HostClock.h"
#include "base/MainScheduler.h"
#include "base/WallClock.h"
#include "capture/AudioTrackWriter.h"
#include "copy/DesktopCopy.h"
#include "copy/MeetingText.h"
#include "copy/Strings.h"
#include "entry/AIWork.h"
#include "entry/AppDelegate.h"
#include "entry/CaptureRoles.h"
#include "entry/InstanceChannel.h"
#include "entry/RecoveryReport.h"
#include "entry/StoreFiles.h"
#include "platform/linux/DesktopBus.h"
#include "platform/linux/DesktopKeepAwake.h"
#include "platform/linux/DesktopNotifications.h"
#include "platform/linux/DesktopOpener.h"
#include "platform/linux/DesktopScreens.h"
#include "platform/linux/DesktopShutdownWatch.h"
#include "platform/linux/DisplayServer.h"
#include "platform/linux/LinuxPermissions.h"
#include "platform/linux/PulseConnection.h"
#include "platform/linux/PulseInput.h"
#include "platform/linux/PulseSystemAudio.h"
#include "platform/linux/TrayItem.h"
#include "selftest/AutoTest.h"
#include "store/AppPaths.h"
#include "store/MeetingLibrary.h"
#include "store/RecordingLock.h"
#include "store/Recovery.h"
#include "store/Retention.h"
#include "ui/PlainWindow.h"

#include <QApplication>
#include <QTimer>

#include <cstdlib>
#include <utility>

namespace app {

using namespace Qt::StringLiterals;
namespace desktop = platform::linux_desktop;

namespace {

/// How long the sound server may take to be reached before the start goes on without its answer. Seconds.
constexpr double soundServerLimit = 2.0;

desktop::LinuxPermissions::SoundServer askSoundServer(desktop::PulseLoop& loop) {
    using enum desktop::LinuxPermissions::SoundServer;
    const desktop::Deadline deadline(soundServerLimit);
    if (desktop::soundServerAnswers(loop, deadline)) {
        return Answers;
    }
    return deadline.passed() ? Silent : Refuses;
}

bool isLive(const std::filesystem::path& folder) {
    return store::RecordingLock::isLive(folder);
}

/// Ends the process without waiting for anybody. What has to be saved is on the disk by now, and a thread that hangs in
/// a device or a server must not keep the program alive.
[[noreturn]] void endProcess(int code) {
    std::fflush(nullptr);
    std::_Exit(code);
}

} // namespace

struct Application::Parts {
    explicit Parts(entry::CommandLine line) : commandLine(std::move(line)) {}

    void launch();
    [[nodiscard]] entry::AppSeams seams();
    void quit();
    void end(int code);

    entry::CommandLine commandLine;
    base::MainScheduler main;
    base::ThreadDispatch dispatch{main};
    base::MonotonicClock hostClock;
    base::SystemWallClock wallClock;
    base::PreferenceStore defaults = store::AppPaths::defaults();

    std::shared_ptr<desktop::PulseLoop> soundLoop = std::make_shared<desktop::PulseLoop>();
    desktop::PulseInput input{soundLoop};
    desktop::PulseSystemAudio systemAudio{soundLoop};
    desktop::DesktopBus sessionBus{desktop::DesktopBus::Kind::Session, dispatch};
    desktop::DesktopBus systemBus{desktop::DesktopBus::Kind::System, dispatch};
    std::unique_ptr<capture::ScreenSource> screens = desktop::makeScreens(desktop::sessionKind(), dispatch, sessionBus);
    desktop::DesktopNotifications notifications{sessionBus};
    desktop::DesktopKeepAwake keepAwake{systemBus, sessionBus};
    desktop::DesktopOpener opener{sessionBus, main};
    desktop::DesktopShutdownWatch shutdownWatch{systemBus};
    desktop::TrayItem tray;
    desktop::LinuxPermissions permissions{
        dispatch,
        opener,
        {.soundServer = [loop = soundLoop] { return askSoundServer(*loop); },
         .hasDesktop = [] { return desktop::hasDesktop(); },
         .explain = [this](const QString&) { notifier.post(copy::DesktopCopy::current().lookInSettings); }}};

    entry::CaptureRoles roles{{dispatch, hostClock, input, systemAudio, *screens}};
    entry::StoreFiles files;
    entry::Notifier notifier{notifications};
    entry::AIWork aiWork{{dispatch, hostClock, wallClock, defaults, keepAwake}};
    std::unique_ptr<selftest::AutoTest> autoTest;
    std::shared_ptr<entry::AppDelegate> delegate;
    std::unique_ptr<entry::ShutdownWatch::Watch> shutdown;
    std::unique_ptr<entry::InstanceChannel> channel;
};

entry::AppSeams Application::Parts::seams() {
    entry::AppSeams seams;
    seams.recovery.clearStaleLock = [] { store::RecordingLock::clearStale(); };
    seams.recovery.recordingElsewhere = [] { return store::RecordingLock::recordingElsewhere(); };
    seams.recovery.pending = [] { return store::Recovery::pending(store::AppPaths::meetings(), isLive); };
    seams.recovery.run = [this] {
        const auto meetings = store::AppPaths::meetings();
        const auto outcomes =
            store::Recovery::run(meetings, isLive, capture::AudioTrackWriter::convertToM4A, wallClock);
        store::Retention::prune(meetings, wallClock.now());
        return entry::recoveryLines(outcomes);
    };
    seams.makeWindow = [] { return std::make_unique<ui::PlainWindow>(); };
    seams.moveToTrash = [this](const auto& folder) { return store::AppPaths::trashItem(folder, wallClock.now()); };
    seams.prune = [this] { store::Retention::prune(store::AppPaths::meetings(), wallClock.now()); };
    seams.latestFolder = [] { return store::MeetingLibrary::latestFolder(store::AppPaths::meetings()); };
    seams.practiceTitle = [](const store::StoppedSession& stopped) {
        return copy::MeetingText::practiceTitle(stopped.start, stopped.duration, copy::MeetingText::calendar());
    };
    seams.quit = [this] { quit(); };
    seams.endProgram = [this](bool) { end(EXIT_SUCCESS); };
    aiWork.connect(seams, [this] { return delegate->pendingFolders(); });
    aiWork.onFinished = [this] { delegate->aiFinished(); };
    if (autoTest) {
        seams.resumeQueue = [] {}; // it speaks of its own recording alone
        autoTest->connect(seams);
    }
    return seams;
}

void Application::Parts::launch() {
    if (commandLine.autoTestSeconds) {
        autoTest = std::make_unique<selftest::AutoTest>(selftest::AutoTest::Options{*commandLine.autoTestSeconds,
                                                                                    commandLine.autoTestPractice,
                                                                                    commandLine.autoTestKeep},
                                                        dispatch, hostClock);
    }
    delegate = entry::AppDelegate::create(
        {.recording = {dispatch, hostClock, wallClock, *screens, roles, files, keepAwake},
         .defaults = defaults,
         .permissions = permissions,
         .notifier = notifier,
         .opener = opener,
         .statusItem = tray},
        seams(), autoTest ? entry::AppDelegate::Mode::SelfTest : entry::AppDelegate::Mode::Ordinary);
    shutdown = shutdownWatch.watch({.onPowerOff = [this] { delegate->powerOff(); }, .onQuit = [this] { quit(); }});
    channel = std::make_unique<entry::InstanceChannel>(store::AppPaths::root(), [this](const QString& word) -> QString {
        if (word != entry::InstanceChannel::showWord) {
            return entry::InstanceChannel::unknownAnswer.toString();
        }
        delegate->showMainWindow();
        return entry::InstanceChannel::doneAnswer.toString();
    });
    delegate->didFinishLaunching();
    if (autoTest) {
        autoTest->run(delegate, [this] { quit(); }, [](int code) { endProcess(code); });
    } else {
        main.post([this] { delegate->showMainWindow(); });
    }
}

void Application::Parts::quit() {
    if (delegate->shouldTerminate() == entry::AppDelegate::TerminateReply::Now) {
        end(EXIT_SUCCESS);
    }
}

void Application::Parts::end(int code) {
    delegate->willTerminate();
    endProcess(code);
}

Application::Application(const entry::CommandLine& commandLine) : m_parts(std::make_unique<Parts>(commandLine)) {}

Application::~Application() = default;

int Application::run() {
    QApplication::setApplicationName(u"brieflet"_s);
    QApplication::setApplicationDisplayName(copy::Strings::appName);
    QApplication::setDesktopFileName(u"brieflet"_s);
    QApplication::setQuitOnLastWindowClosed(false);
    m_parts->launch();
    return QApplication::exec();
}

} // namespace app
