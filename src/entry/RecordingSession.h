// One live recording, from the moment its folder is made to the StoppedSession that is handed back. Only the folder and
// the microphone can fail it; everything else that goes wrong becomes a warning and the recording goes on.
//   Units    seconds; startHost and elapsed() on the host clock
//   Threads  the main thread. The start of the microphone and the stop sequence run in the background on parts that
//            guard themselves, and come back to the main thread
//   Files    at every moment of start and stop the folder is one that recovery can heal: meta.json is finished before
//            anything is closed, a CAF goes when its m4a is on the disk, the lock goes last
//   Owns     its parts and its timers. Whoever starts one keeps it until stop has completed; a new recording is a new
//   one
#pragma once

#include "base/Dispatch.h"
#include "base/HostClock.h"
#include "base/WallClock.h"
#include "entry/KeepAwake.h"
#include "entry/RecordingRoles.h"
#include "entry/SessionError.h"
#include "store/StoppedSession.h"

#include <QString>
#include <QStringList>

#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace entry {

class RecordingSession : public std::enable_shared_from_this<RecordingSession> {
public:
    /// What a recording needs of the world. All of it outlives the session.
    struct Services {
        base::Dispatch& dispatch;
        const base::HostClock& hostClock;
        const base::WallClock& wallClock;
        capture::ScreenSource& screens;
        RecordingRoles& roles;
        RecordingFiles& files;
        KeepAwake& keepAwake;
    };

    struct Request {
        std::filesystem::path meetingsDirectory;
        bool screenshots = false;   ///< take them automatically
        bool screenCapture = false; ///< the screen may be captured at all
        bool practice = false;
        std::function<void(const QString&)> onWarning;
    };

    using Started = std::expected<std::shared_ptr<RecordingSession>, StartError>;

    /// Seconds between two looks at the levels.
    static constexpr double meterInterval = 0.2;
    /// Seconds after which a desktop that does not tell its screens is taken to have none to show.
    static constexpr double screenContentLimit = 10.0;

    /// The only way in. `completion` comes once, on the main thread.
    static void start(const Services& services, const Request& request, std::function<void(Started)> completion);

    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }

    [[nodiscard]] const QDateTime& startDate() const { return m_startDate; }

    [[nodiscard]] bool practice() const { return m_practice; }

    [[nodiscard]] double startHost() const { return m_startHost; }

    [[nodiscard]] double elapsed() const;

    [[nodiscard]] bool systemRunning() const { return m_systemRunning; }

    [[nodiscard]] bool autoShots() const { return m_autoShots; }

    [[nodiscard]] bool autoShotsEverOn() const { return m_autoShotsEverOn; }

    void setAutoShots(bool on);
    void takeShot();

    [[nodiscard]] bool canShoot() const { return m_shooter != nullptr; }

    /// For the self-test.
    void restartMicForTest();
    [[nodiscard]] int micRestarts();

    /// `onConverting` (may be empty) gets the length when the conversion begins. Both come on the main thread,
    /// `completion` exactly once.
    void stop(std::function<void(double seconds)> onConverting, std::function<void(store::StoppedSession)> completion);

    std::function<void(const QString&)> onWarning;
    std::function<void(const QString&)> onWarningCleared;
    /// Level in dB of the microphone and of the system track, nullopt without one.
    std::function<void(double mic, std::optional<double> system)> onLevels;

private:
    using Begun = std::function<void(std::optional<StartError>)>;
    struct Stop;

    RecordingSession(const Services& services, const Request& request);

    static void launch(const Services& services, const Request& request, const std::optional<capture::Display>& display,
                       const std::optional<QString>& warning, const std::function<void(Started)>& completion);
    /// The folder, the lock, the first meta.json and the open tracks; or nothing of it.
    [[nodiscard]] static Started create(const Services& services, const Request& request,
                                        const std::optional<capture::Display>& display);
    void writeFirstRecords();
    [[nodiscard]] std::optional<TrackError> openTracks();
    void makeSources(const std::optional<capture::Display>& display);

    void begin(const std::optional<capture::Display>& display, Begun completion);
    void continueBegin(const std::optional<capture::Display>& display, const Begun& completion);
    void routeErrors();
    void abandon();

    void startTimers();
    void shotTick();
    void meterTick();
    void healthTick();
    void judgeHealth(const capture::TrackHealth& mic, const std::optional<capture::TrackHealth>& system);
    void warn(const QString& text);

    [[nodiscard]] std::optional<QString> mode() const;
    void writeFinishedRecord(const Stop& stop);
    void stopSources(const std::shared_ptr<Stop>& stop);
    void finishTracks(const std::shared_ptr<Stop>& stop);
    void convert(const std::shared_ptr<Stop>& stop, const std::filesystem::path& caf);
    void conversionsEnded(const std::shared_ptr<Stop>& stop);
    void stopped(const Stop& stop);

    Services m_services;
    std::filesystem::path m_folder;
    QDateTime m_startDate;
    bool m_practice = false;
    double m_startHost = 0;
    std::shared_ptr<Track> m_micTrack;
    std::shared_ptr<Track> m_systemTrack;
    std::shared_ptr<Microphone> m_mic;
    std::shared_ptr<SystemSound> m_system;
    std::shared_ptr<Shooter> m_shooter; ///< exactly when there is a display
    std::unique_ptr<base::Timer> m_shotTimer;
    std::unique_ptr<base::Timer> m_meterTimer;
    std::unique_ptr<base::Timer> m_healthTimer;
    std::unique_ptr<KeepAwake::Token> m_activity;
    bool m_systemRunning = false;
    bool m_autoShots = false;
    bool m_autoShotsEverOn = false;   ///< this, not the final state, goes into meta.json
    QStringList m_startupWarnings;    ///< from before anyone could listen
    std::set<QString> m_activeHealth; ///< reported at the last health tick
    bool m_healthAsked = false;
    std::optional<capture::TrackHealth> m_previousMic;
    std::optional<capture::TrackHealth> m_previousSystem;
};

} // namespace entry
