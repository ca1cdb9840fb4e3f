#include "entry/AppDelegate.h"

#include "base/Environment.h"
#include "base/Files.h"
#include "capture/LevelMeter.h"
#include "copy/DesktopCopy.h"
#include "copy/Strings.h"
#include "entry/StatusItemPrefs.h"
#include "store/AppPaths.h"

#include <algorithm>
#include <utility>

namespace entry {

namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;

namespace {

/// Appends a level and keeps as many as a meter has cells.
void remember(std::vector<double>& history, double level) {
    history.push_back(level);
    if (history.size() > capture::LevelMeter::cells) {
        history.erase(history.begin());
    }
}

double newest(const std::vector<double>& history) {
    return history.empty() ? 0.0 : history.back();
}

} // namespace

std::shared_ptr<AppDelegate> AppDelegate::create(const Services& services, AppSeams seams, Mode mode) {
    const std::shared_ptr<AppDelegate> app(new AppDelegate(services, std::move(seams), mode));
    app->connectStatusItem();
    app->connectKeepFlow();
    return app;
}

AppDelegate::AppDelegate(const Services& services, AppSeams seams, Mode mode)
    : m_services(services)
    , m_seams(std::move(seams))
    , m_mode(mode) {}

void AppDelegate::connectStatusItem() {
    m_services.statusItem.setHandlers({
        .onMenuOpening = weakly([](AppDelegate& self) { self.rebuildMenu(); }),
        .onAction = weakly([](AppDelegate& self, MenuAction action) { self.act(action); }),
    });
}

void AppDelegate::connectKeepFlow() {
    m_keep.onKeep = weakly([](AppDelegate& self, const std::filesystem::path& folder, practice::KeepEvent event) {
        if (practice::KeepRules::queuesNow(event)) {
            self.m_seams.autoGenerate(folder);
        }
    });
    m_keep.onDiscard =
        weakly([](AppDelegate& self, const std::filesystem::path& folder) { self.discardPractice(folder); });
    m_keep.onChange = weakly([](AppDelegate& self) {
        if (self.m_mainWindow) {
            self.m_mainWindow->refreshKeepCard();
        }
    });
}

void AppDelegate::didFinishLaunching() {
    m_services.defaults.registerDefault(screenshotsKey.toString(), true);
    m_services.defaults.registerDefault(autoSummaryKey.toString(), true);
    (void)store::AppPaths::prepare(); // a start fails with the reason
    store::AppPaths::clearWork();
    (void)m_people.ensureFile(); // both work from memory where the disk refuses
    (void)m_types.ensureFile();
    m_types.load();
    runRecovery();
    if (base::Environment::testMode()) {
        m_services.statusItem.setVisible(false);
        StatusItemPrefs::forgetTest(m_services.defaults);
    } else {
        StatusItemPrefs::repairHidden(m_services.defaults);
        m_services.statusItem.setVisible(true);
    }
    updateButton();
    rebuildMenu();
    m_retentionTimer =
        mainQueue().every(retentionInterval, weakly([](AppDelegate& self) { self.pruneInBackground(); }));
}

// ---- Starting

void AppDelegate::begin(bool practice) {
    if (m_state != RecorderState::Idle) {
        return;
    }
    m_keep.resolve(practice::KeepEvent::NewRecording);
    m_state = RecorderState::Starting;
    m_practicing = practice;
    m_notice.reset();
    m_warnings.clear();
    m_micSlow = false;
    ++m_startToken;
    updateButton();
    rebuildMenu();
    m_services.permissions.requestMicrophone(
        weakly([practice](AppDelegate& self, bool granted) { self.microphoneAnswered(practice, granted); }));
}

void AppDelegate::microphoneAnswered(bool practice, bool granted) {
    if (!granted) {
        fail({.text = Strings::noMicrophone, .pane = ui::Permissions::microphonePane.toString()});
        return;
    }
    const bool screenCapture =
        practice ? m_services.permissions.screenCaptureGranted() : m_services.permissions.requestScreenCapture();
    watchForSlowMicrophone();
    startSession(practice, screenCapture);
}

void AppDelegate::watchForSlowMicrophone() {
    mainQueue().after(micSlowAfter, weakly([token = m_startToken](AppDelegate& self) {
                          if (self.m_state == RecorderState::Starting && self.m_startToken == token) {
                              self.m_micSlow = true;
                              self.updateButton();
                              self.rebuildMenu();
                          }
                      }));
}

void AppDelegate::startSession(bool practice, bool screenCapture) {
    const RecordingSession::Request request = {
        .meetingsDirectory = store::AppPaths::meetings(),
        .screenshots = m_services.defaults.boolean(screenshotsKey.toString()) && !practice,
        .screenCapture = screenCapture,
        .practice = practice,
        .onWarning = weakly([](AppDelegate& self, const QString& text) { self.addWarning(text); }),
    };
    RecordingSession::start(m_services.recording, request,
                            weakly([](AppDelegate& self, const RecordingSession::Started& started) {
                                if (started) {
                                    self.began(*started);
                                } else {
                                    const QString reason = text(started.error());
                                    self.m_services.notifier.post(reason);
                                    self.fail({.text = reason, .pane = std::nullopt});
                                }
                            }));
}

void AppDelegate::began(const std::shared_ptr<RecordingSession>& session) {
    m_micSlow = false;
    ++m_startToken; // the timer of this start is void now
    m_session = session;
    m_pendingFolders.insert(base::standardizedText(session->folder()));
    m_state = RecorderState::Recording;
    m_micLevels.clear();
    m_systemLevels.clear();
    connectSession(*session);
    m_services.notifier.post(m_practicing ? Strings::notifyPracticeStarted : Strings::notifyStarted);
    m_tickTimer = mainQueue().every(tickInterval, weakly([](AppDelegate& self) { self.updateButton(); }));
    updateButton();
    rebuildMenu();
    if (m_terminating) {
        stopRecording();
    }
    if (m_seams.selfTest.began) {
        m_seams.selfTest.began(*session);
    }
}

void AppDelegate::connectSession(RecordingSession& session) {
    session.onLevels = weakly(
        [](AppDelegate& self, double mic, const std::optional<double>& system) { self.levelsCame(mic, system); });
    session.onWarningCleared = weakly([](AppDelegate& self, const QString& text) { self.clearWarning(text); });
}

void AppDelegate::fail(const ui::Notice& notice) {
    m_micSlow = false;
    ++m_startToken;
    m_state = RecorderState::Idle;
    m_practicing = false;
    m_notice = notice;
    updateButton();
    rebuildMenu();
    if (m_seams.selfTest.failed) {
        m_seams.selfTest.failed(notice.text);
    }
    if (m_terminating && !m_seams.ai.busy()) {
        endQuit();
    }
}

// ---- While it runs

void AppDelegate::levelsCame(double mic, std::optional<double> system) {
    remember(m_micLevels, capture::LevelMeter::level(mic));
    remember(m_systemLevels, capture::LevelMeter::level(system.value_or(capture::LevelMeter::silenceDB)));
    updateMeterItems();
    if (m_mainWindow) {
        m_mainWindow->setLevels(newest(m_micLevels), newest(m_systemLevels));
    }
}

void AppDelegate::updateMeterItems() {
    m_services.statusItem.setLiveTitle(LiveRow::MicMeter, micMeterTitle());
    m_services.statusItem.setLiveTitle(LiveRow::SystemMeter, systemMeterTitle());
}

void AppDelegate::addWarning(const QString& text) {
    if (m_warnings.contains(text)) {
        return;
    }
    m_warnings.append(text);
    updateButton();
    rebuildMenu();
    m_services.notifier.post(text);
}

void AppDelegate::clearWarning(const QString& text) {
    if (m_warnings.removeAll(text) > 0) {
        updateButton();
        rebuildMenu();
    }
}

void AppDelegate::takeShot() {
    if (m_session) {
        m_session->takeShot();
    }
}

void AppDelegate::toggleScreenshots() {
    const bool on = !m_services.defaults.boolean(screenshotsKey.toString());
    m_services.defaults.set(screenshotsKey.toString(), on);
    if (m_session && !m_session->practice()) {
        m_session->setAutoShots(on);
    }
    updateButton();
    rebuildMenu();
}

void AppDelegate::toggleRecording() {
    if (m_state == RecorderState::Recording) {
        stopRecording();
    } else {
        begin(false);
    }
}

// ---- Showing

void AppDelegate::updateButton() {
    m_services.statusItem.setState(StatusMenu::itemState(statusInput()));
    pushWindowState();
}

void AppDelegate::rebuildMenu() {
    m_services.statusItem.setMenu(StatusMenu::rows(statusInput()));
}

void AppDelegate::pushWindowState() {
    if (!m_mainWindow) {
        return;
    }
    m_mainWindow->setMenu(menuState());
    m_mainWindow->setRecording(buttonState(), windowNotice(), m_practicing);
    const auto elapsed =
        m_state == RecorderState::Recording && m_session ? std::optional(m_session->elapsed()) : std::nullopt;
    m_mainWindow->setPending(elapsed, m_openForms, m_practicing);
}

std::optional<QString> AppDelegate::windowNotice() const {
    if (m_notice) {
        return m_notice->text;
    }
    if (!m_warnings.isEmpty()) {
        return m_warnings.last();
    }
    if (m_state == RecorderState::Starting && m_micSlow) {
        return Strings::micStillOpening;
    }
    return std::nullopt;
}

ui::AppMenuState AppDelegate::menuState() const {
    return {.recording = m_state == RecorderState::Recording,
            .enabled = m_state == RecorderState::Idle || m_state == RecorderState::Recording,
            .practice = m_practicing,
            .canShoot = m_practicing && m_session ? m_session->canShoot() : true,
            .idle = m_state == RecorderState::Idle};
}

ui::RecordButtonState AppDelegate::buttonState() const {
    switch (m_state) {
    case RecorderState::Idle:
        break;
    case RecorderState::Starting:
        return ui::RecordButtonState::starting();
    case RecorderState::Recording:
        return ui::RecordButtonState::recording(m_session ? m_session->elapsed() : 0.0);
    case RecorderState::Stopping:
        return ui::RecordButtonState::stopping();
    }
    return ui::RecordButtonState::idle();
}

StatusMenu::Input AppDelegate::statusInput() const {
    StatusMenu::Input input;
    input.state = m_state;
    input.practicing = m_practicing;
    if (m_notice) {
        input.notice = m_notice->text;
        input.noticeCanBeFixed = m_notice->pane.has_value();
    }
    input.hasWarnings = !m_warnings.isEmpty();
    input.micSlow = m_micSlow;
    input.recovering = m_recovering;
    input.canShoot = m_session && m_session->canShoot();
    input.screenshotsEnabled = m_services.defaults.boolean(screenshotsKey.toString());
    input.elapsedSeconds = m_session ? m_session->elapsed() : 0.0;
    input.lastSaved = m_lastSaved;
    input.micMeter = micMeterTitle();
    input.systemMeter = systemMeterTitle();
    return input;
}

QString AppDelegate::micMeterTitle() const {
    return Strings::meterMine + u' ' + capture::LevelMeter::text(m_micLevels);
}

QString AppDelegate::systemMeterTitle() const {
    return Strings::meterTheirs + u' ' + capture::LevelMeter::text(m_systemLevels);
}

QString AppDelegate::menuBarIconLine() const {
    const QString shown = m_services.statusItem.shownSymbol();
    return u"menu bar icon: "_s + (shown.isEmpty() ? u"hidden"_s : shown);
}

void AppDelegate::makeMainWindow() {
    if (m_mainWindow) {
        return;
    }
    m_mainWindow = m_seams.makeWindow();
    if (!m_mainWindow) {
        return;
    }
    m_mainWindow->setHandlers({
        .onStart = weakly([](AppDelegate& self) { self.begin(false); }),
        .onStartPractice = weakly([](AppDelegate& self) { self.begin(true); }),
        .onStop = weakly([](AppDelegate& self) { self.stopRecording(); }),
        .onShot = weakly([](AppDelegate& self) { self.takeShot(); }),
        .onNotice = weakly([](AppDelegate& self) { self.openNotice(); }),
        .onClosed = weakly([](AppDelegate& self) { self.windowClosed(); }),
        .onQuit = weakly([](AppDelegate& self) { self.m_seams.quit(); }),
        .keepPending =
            [self = weak_from_this()](const std::filesystem::path& folder) {
                const auto app = self.lock();
                return app && app->m_keep.isPending(folder);
            },
        .onKeepAnswer = weakly([](AppDelegate& self, practice::KeepEvent event) { self.m_keep.resolve(event); }),
    });
    pushWindowState();
}

void AppDelegate::showMainWindow() {
    makeMainWindow();
    if (m_mainWindow) {
        m_mainWindow->show();
    }
}

void AppDelegate::windowClosed() {
    if (m_state == RecorderState::Recording) {
        m_services.notifier.post(copy::DesktopCopy::current().stillRecording); // a desktop without a tray shows no sign
    }
}

void AppDelegate::openLatest() {
    (void)store::AppPaths::prepare();
    m_services.opener.openFolder(m_seams.latestFolder().value_or(store::AppPaths::meetings()));
}

void AppDelegate::openAll() {
    (void)store::AppPaths::prepare();
    m_services.opener.openFolder(store::AppPaths::meetings());
}

void AppDelegate::openNotice() {
    if (m_notice && m_notice->pane) {
        m_services.permissions.open(*m_notice->pane);
    }
}

void AppDelegate::act(MenuAction action) {
    switch (action) {
    case MenuAction::None:
        break;
    case MenuAction::OpenNotice:
        openNotice();
        break;
    case MenuAction::StartRecording:
        begin(false);
        break;
    case MenuAction::StartPractice:
        begin(true);
        break;
    case MenuAction::StopRecording:
        stopRecording();
        break;
    case MenuAction::TakeShot:
        takeShot();
        break;
    case MenuAction::ToggleScreenshots:
        toggleScreenshots();
        break;
    case MenuAction::OpenWindow:
        showMainWindow();
        break;
    case MenuAction::OpenLatest:
        openLatest();
        break;
    case MenuAction::OpenAll:
        openAll();
        break;
    case MenuAction::Quit:
        m_seams.quit();
        break;
    }
}

store::MeetingLibrary::FolderSet AppDelegate::busyFolders() const {
    auto folders = m_pendingFolders;
    return folders.unite(m_recoveringFolders);
}

} // namespace entry
