// The parts of a recording as the session drives them: two tracks, two sources, the pictures, the files. The real ones
// stand in CaptureRoles and StoreFiles; with fakes every order of the session runs without a device.
//   Threads  as each operation says; a role guards itself
//   Owns     the session owns what the factory makes
#pragma once

#include "capture/CaptureError.h"
#include "capture/CaptureSink.h"
#include "capture/ScreenShooter.h"
#include "capture/ScreenSource.h"
#include "capture/TrackHealth.h"
#include "store/MeetingMeta.h"

#include <QString>

#include <cstdint>
#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace entry {

using OnError = std::function<void(const QString& text)>;

/// One track being written. After finish or discard it takes nothing more.
class Track {
public:
    virtual ~Track() = default;
    [[nodiscard]] virtual const std::filesystem::path& url() const = 0;
    /// Closes and deletes the file. Any thread but the track's own.
    virtual void discard() = 0;
    /// Sound captured after `hostSeconds` is not taken any more. Any thread.
    virtual void endAt(double hostSeconds) = 0;
    /// Waits, not for long, for the sound up to the moment of endAt that is still on its way. Never on the main thread.
    virtual void awaitEnd() = 0;
    /// Pads the track to `totalSeconds`, closes it and returns its length in seconds. Any thread but the track's own.
    [[nodiscard]] virtual double finish(double totalSeconds) = 0;
    [[nodiscard]] virtual capture::TrackHealth health() = 0;       ///< any thread but the track's own
    [[nodiscard]] virtual std::optional<double> takeLevelDB() = 0; ///< any thread; never waits for the disk
    /// Where its source delivers.
    [[nodiscard]] virtual std::shared_ptr<capture::CaptureSink> sink() const = 0;
};

class Microphone {
public:
    virtual ~Microphone() = default;
    /// Blocks for as long as the platform does; never on the main thread. nullopt: it runs.
    [[nodiscard]] virtual std::optional<capture::CaptureError> start() = 0;
    virtual void stop() = 0; ///< blocks
    virtual void restartNow() = 0;
    [[nodiscard]] virtual int restartCount() = 0;
    virtual void setOnError(OnError onError) = 0; ///< called on the main thread
};

class SystemSound {
public:
    virtual ~SystemSound() = default;
    /// `completion` comes once, on the main thread; nullopt: it runs.
    virtual void start(const capture::Display& display,
                       std::function<void(std::optional<QString> error)> completion) = 0;
    /// `completion` comes once, off the main thread, and may block there. Also without a start.
    virtual void stop(std::function<void()> completion) = 0;
    virtual void setOnError(OnError onError) = 0; ///< called on the main thread
};

class Shooter {
public:
    using Force = capture::ScreenShooter::Force;

    virtual ~Shooter() = default;
    virtual void capture(Force force) = 0;
    /// The number of pictures saved; none is saved after it.
    [[nodiscard]] virtual std::int64_t stop() = 0;
    virtual void setOnError(OnError onError) = 0; ///< called on the main thread
};

/// Makes the roles of one recording. Main thread, but for convertToM4A.
class RecordingRoles {
public:
    virtual ~RecordingRoles() = default;
    /// Opens the file at `url`; `startHost` is the zero of its time line on the host clock. The error is the user's
    /// text.
    [[nodiscard]] virtual std::expected<std::shared_ptr<Track>, QString>
    makeTrack(const std::filesystem::path& url, const std::string& label, double startHost) = 0;
    [[nodiscard]] virtual std::shared_ptr<Microphone> makeMicrophone(const std::shared_ptr<Track>& track) = 0;
    [[nodiscard]] virtual std::shared_ptr<SystemSound> makeSystemSound(const std::shared_ptr<Track>& track) = 0;
    [[nodiscard]] virtual std::shared_ptr<Shooter>
    makeShooter(const capture::Display& display, const std::filesystem::path& directory, double startHost) = 0;
    [[nodiscard]] virtual std::filesystem::path m4aURL(const std::filesystem::path& caf) const = 0;
    /// Any thread; takes long. The seconds converted, or the user's text of what went wrong.
    [[nodiscard]] virtual std::expected<double, QString> convertToM4A(const std::filesystem::path& caf,
                                                                      const std::filesystem::path& m4a) = 0;
};

/// What a recording does to the disk beside its sound and pictures. Errors are texts for the user.
///   Threads  any
class RecordingFiles {
public:
    using Result = std::expected<void, QString>;

    virtual ~RecordingFiles() = default;
    [[nodiscard]] virtual bool exists(const std::filesystem::path& path) = 0;
    [[nodiscard]] virtual Result makeFolders(const std::filesystem::path& folder) = 0;
    [[nodiscard]] virtual Result writeLock(const std::filesystem::path& folder) = 0;
    virtual void removeLock() = 0; ///< if it is this process's
    [[nodiscard]] virtual Result writeMeta(const store::MeetingMeta& meta, const std::filesystem::path& folder) = 0;
    /// The file's content and its name are on the disk after success.
    [[nodiscard]] virtual Result makeDurable(const std::filesystem::path& file) = 0;
    virtual void removeFile(const std::filesystem::path& file) = 0;
    virtual void removeFolder(const std::filesystem::path& folder) = 0; ///< with all it holds
};

} // namespace entry
