// The controller on a desktop of fakes and a hand-moved clock.
#pragma once

#include "copy/EnvironmentValue.h"
#include "entry/AppDelegate.h"
#include "fakes/FakeKeepAwake.h"
#include "fakes/FakeNotifications.h"
#include "fakes/FakeOpener.h"
#include "fakes/FakePermissions.h"
#include "fakes/FakeRecorderWindow.h"
#include "fakes/FakeRecordingRoles.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/FakeStatusItem.h"
#include "fakes/ManualScheduler.h"
#include "fakes/QtPrinters.h"
#include "fakes/TemporaryFolder.h"
#include "store/AppPaths.h"
#include "store/MeetingArchive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <vector>

namespace entry {

class AppDelegateTest : public testing::Test {
protected:
    static constexpr double tick = 0.001; ///< the least step that tells one moment from the next

    AppDelegateTest() {
        screens.nextContent = capture::ScreenContent{
            .displays = {{.id = 1, .frame = {0, 0, 1920, 1080}, .pixelWidth = 1920, .pixelHeight = 1080}},
            .windows = {},
            .mainDisplay = 1};
        seams.ai = {.busy = [this] { return aiBusy; },
                    .hasWork = [this] { return aiBusy || aiWaiting; },
                    .summarizing = [this] { return aiSummarizing; },
                    .holdFurther = [this] { ++aiHolds; },
                    .cancelRunning = [this] { ++aiCancels; }};
        seams.moveToTrash = [this](const std::filesystem::path& folder) -> std::expected<void, base::FileError> {
            trashed.push_back(folder);
            if (trashError) {
                return std::unexpected(*trashError);
            }
            return {};
        };
        seams.prune = [this] { ++prunes; };
        seams.autoGenerate = [this](const std::filesystem::path& folder) { generated.push_back(folder); };
        seams.resumeQueue = [this] { ++resumes; };
        seams.quit = [this] { ++quits; };
        seams.endProgram = [this](bool gaveUp) { ends.push_back(gaveUp); };
        seams.makeWindow = [this] {
            auto made = std::make_unique<fakes::FakeRecorderWindow>();
            window = made.get();
            return made;
        };
    }

    /// The controller as it is after a launch, with its window.
    void launch() {
        make();
        app->didFinishLaunching();
        dispatch.runDue();
        app->showMainWindow();
    }

    void make(AppDelegate::Mode mode = AppDelegate::Mode::Ordinary) {
        app = AppDelegate::create({.recording = {dispatch, dispatch.clock, wallClock, screens, roles, files, keepAwake},
                                   .defaults = defaults,
                                   .permissions = permissions,
                                   .notifier = notifier,
                                   .opener = opener,
                                   .statusItem = statusItem},
                                  seams, mode);
    }

    void begin(bool practice = false) {
        app->begin(practice);
        dispatch.runDue();
    }

    void stop() {
        app->stopRecording();
        dispatch.runDue();
    }

    /// Leaves forms open until a test answers them.
    void holdForms() {
        seams.form.open = [this](const store::StoppedSession&, const FormSeam::Finish& finish) {
            openForms.push_back(finish);
        };
        seams.form.skipAll = [this] {
            for (const auto& finish : std::exchange(openForms, {})) {
                finish(std::nullopt);
            }
        };
    }

    [[nodiscard]] static store::MeetingAnswers answers(const QString& note) {
        return {.type = std::nullopt, .people = {}, .note = note};
    }

    [[nodiscard]] static std::filesystem::path meeting(const char8_t* name) {
        return store::AppPaths::meetings() / std::filesystem::path(name);
    }

    [[nodiscard]] std::vector<QString> posted() const { return notifications.bodies(); }

    fakes::TemporaryFolder data;
    // Outside test mode, so that notifications and the tray are seen; the data folder is a test's all the same.
    EnvironmentValue noTestMode{"TARVEX_HOME", std::nullopt};
    EnvironmentValue dataHome{"XDG_DATA_HOME", QByteArray::fromStdString(data.path.string())};
    fakes::ManualDispatch dispatch;
    fakes::ManualWallClock wallClock;
    fakes::FakeScreenSource screens;
    fakes::StepLog log;
    fakes::FakeRecordingRoles roles{log};
    fakes::FakeRecordingFiles files{log};
    fakes::FakeKeepAwake keepAwake;
    fakes::FakePermissions permissions;
    fakes::FakeNotifications notifications;
    Notifier notifier{notifications};
    fakes::FakeOpener opener;
    fakes::FakeStatusItem statusItem;
    base::PreferenceStore defaults{data / "preferences.json"};
    AppSeams seams;
    std::shared_ptr<AppDelegate> app;
    fakes::FakeRecorderWindow* window = nullptr;

    bool aiBusy = false;
    bool aiWaiting = false; ///< a job waits that would start
    bool aiSummarizing = false;
    int aiHolds = 0;
    int aiCancels = 0;
    int prunes = 0;
    int resumes = 0;
    int quits = 0;
    std::vector<bool> ends; ///< each end of the program: whether it gave up waiting
    std::vector<std::filesystem::path> trashed;
    std::optional<base::FileError> trashError;
    std::vector<std::filesystem::path> generated;
    std::vector<FormSeam::Finish> openForms;
};

} // namespace entry
