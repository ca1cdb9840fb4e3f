// Where the controller meets what others own: the form, the AI work, recovery. Each is a callback with
// an answer that is right while nothing is connected.
//   Threads  all are called on the main thread, except where one says otherwise
#pragma once

#include "base/Files.h"
#include "entry/RecordingSession.h"
#include "store/MeetingAnswers.h"
#include "store/MeetingLibrary.h"
#include "store/StoppedSession.h"
#include "ui/RecorderWindow.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

namespace entry {

/// The queue of AI work as far as ending the program asks for it.
struct AISeam {
    std::function<bool()> busy = [] { return false; };
    /// A job runs or one would start.
    std::function<bool()> hasWork = [] { return false; };
    /// A summary is being written: short, and costly to lose.
    std::function<bool()> summarizing = [] { return false; };
    std::function<void()> holdFurther = [] {}; ///< starts no further request
    std::function<void()> cancelRunning = [] {};
};

/// The questions after a meeting.
struct FormSeam {
    using Finish = std::function<void(const std::optional<store::MeetingAnswers>&)>;
    /// Opens a form; `finish` is called once, with nothing when it is skipped.
    std::function<void(const store::StoppedSession&, const Finish& finish)> open =
        [](const auto&, const Finish& finish) { finish(std::nullopt); };
    std::function<void()> skipAll = [] {}; ///< every open form
};

/// The healing of what an interrupted recording left.
struct RecoverySeam {
    std::function<void()> clearStaleLock = [] {};
    std::function<bool()> recordingElsewhere = [] { return false; };
    /// Standardized paths of the folders that `run` will work on. Quick.
    std::function<store::MeetingLibrary::FolderSet()> pending = [] { return store::MeetingLibrary::FolderSet(); };
    /// Heals, prunes what has expired, and gives the lines to print. Slow; called in the background.
    std::function<QStringList()> run = [] { return QStringList(); };
};

/// What a self-test wants to hear.
struct SelfTestSeam {
    std::function<void(RecordingSession&)> began;
    std::function<void(const store::StoppedSession&, const std::filesystem::path& folder)> finished;
    std::function<void(const QString& text)> failed;                    ///< the start failed
    std::function<void(const std::filesystem::path& folder)> discarded; ///< a practice take was thrown away
};

struct AppSeams {
    AISeam ai;
    FormSeam form;
    RecoverySeam recovery;
    SelfTestSeam selfTest;
    /// Deletes what has expired. Called in the background.
    std::function<void()> prune = [] {};
    std::function<void(const std::filesystem::path& folder)> autoGenerate = [](const auto&) {};
    std::function<void()> resumeQueue = [] {};
    std::function<std::optional<std::filesystem::path>()> latestFolder = [] {
        return std::optional<std::filesystem::path>();
    };
    std::function<std::unique_ptr<ui::RecorderWindow>()> makeWindow = [] {
        return std::unique_ptr<ui::RecorderWindow>();
    };
    /// Moves a folder to the trash.
    std::function<std::expected<void, base::FileError>(const std::filesystem::path& folder)> moveToTrash =
        [](const auto&) { return std::expected<void, base::FileError>(); };
    /// What a practice take is called in the notification that it is saved.
    std::function<QString(const store::StoppedSession&)> practiceTitle = [](const auto& stopped) {
        return base::nameText(stopped.folder);
    };
    /// The user asks for the end of the program.
    std::function<void()> quit = [] {};
    /// The answer that a quit which had to wait still owes: the program ends now. `gaveUp`: something hangs.
    std::function<void(bool gaveUp)> endProgram = [](bool) {};
};

} // namespace entry
