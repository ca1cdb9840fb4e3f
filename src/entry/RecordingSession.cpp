#include "entry/RecordingSession.h"

#include "capture/FirstWins.h"
#include "capture/HealthCheck.h"
#include "capture/LevelMeter.h"
#include "capture/MicCapture.h"
#include "capture/ScreenShooter.h"
#include "copy/Strings.h"
#include "store/MeetingNaming.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace entry {

namespace fs = std::filesystem;
namespace Strings = copy::Strings;
using namespace Qt::StringLiterals;

namespace {

std::optional<capture::Display> mainDisplay(const capture::ScreenContent& content) {
    if (content.displays.empty()) {
        return std::nullopt;
    }
    const auto found = std::ranges::find(content.displays, content.mainDisplay, &capture::Display::id);
    return found != content.displays.end() ? *found : content.displays.front();
}

} // namespace

/// What the stop sequence gathers on its way through the queues. Each step fills its fields before it hands over to the
/// next; only the conversions meet, under the lock.
struct RecordingSession::Stop {
    std::function<void(double)> onConverting;
    std::function<void(store::StoppedSession)> completion;
    store::StoppedSession result;

    std::mutex lock;
    std::size_t conversionsLeft = 0;
    QStringList failures; ///< in the order of their arrival
};

void RecordingSession::start(const Services& services, const Request& request,
                             std::function<void(Started)> completion) {
    if (!request.screenCapture) {
        launch(services, request, std::nullopt, Strings::noScreenCaptureMicOnly, completion);
        return;
    }
    using Content = std::expected<capture::ScreenContent, QString>;
    auto& main = services.dispatch.main();
    auto race = std::make_shared<capture::FirstWins>();
    const auto goOn = [services, request, completion = std::move(completion), race](const Content& content) {
        if (!race->claim()) {
            return;
        }
        if (!content) {
            launch(services, request, std::nullopt, Strings::noScreenCaptureMicOnly, completion);
            return;
        }
        const auto display = mainDisplay(*content);
        const std::optional<QString> warning =
            display ? std::nullopt : std::optional<QString>(Strings::noDisplayMicOnly);
        launch(services, request, display, warning, completion);
    };
    services.screens.content([&main, goOn](const Content& content) { main.post([goOn, content] { goOn(content); }); });
    main.after(screenContentLimit, [goOn] { goOn(std::unexpected(QString())); });
}

void RecordingSession::launch(const Services& services, const Request& request,
                              const std::optional<capture::Display>& display, const std::optional<QString>& warning,
                              const std::function<void(Started)>& completion) {
    auto created = create(services, request, display);
    if (!created) {
        completion(std::move(created));
        return;
    }
    const auto session = *created;
    session->onWarning = request.onWarning;
    for (const QString& text : std::as_const(session->m_startupWarnings)) {
        session->warn(text);
    }
    if (warning && !request.practice) {
        session->warn(*warning);
    }
    // Weakly: the time limit of the start keeps this callback for longer than some recordings last.
    session->begin(display, [weak = std::weak_ptr(session), completion](std::optional<StartError> error) {
        if (error) {
            completion(std::unexpected(*std::move(error)));
        } else if (auto begun = weak.lock()) {
            completion(std::move(begun));
        }
    });
}

// ---- Creation

RecordingSession::RecordingSession(const Services& services, const Request& request)
    : m_services(services)
    , m_startDate(services.wallClock.now())
    , m_practice(request.practice) {
    const auto zone = m_services.wallClock.timeZone();
    const QString name = m_practice ? store::MeetingNaming::practiceFolderName(m_startDate, zone)
                                    : store::MeetingNaming::baseName(m_startDate, zone);
    m_folder = store::MeetingNaming::uniqueURL(request.meetingsDirectory, name,
                                               [&](const fs::path& path) { return m_services.files.exists(path); });
}

RecordingSession::Started RecordingSession::create(const Services& services, const Request& request,
                                                   const std::optional<capture::Display>& display) {
    const std::shared_ptr<RecordingSession> session(new RecordingSession(services, request));
    // This makes the folder itself too, in every mode, so that a recording always has the same shape.
    if (auto made = services.files.makeFolders(session->m_folder / "shots"); !made) {
        return std::unexpected(SessionError{made.error()});
    }
    session->m_autoShots = session->m_autoShotsEverOn = request.screenshots && !request.practice && display.has_value();
    session->writeFirstRecords();
    session->m_startHost = services.hostClock.now();
    if (auto error = session->openTracks()) {
        services.files.removeLock();
        services.files.removeFolder(session->m_folder);
        return std::unexpected(*std::move(error));
    }
    session->makeSources(display);
    return session;
}

void RecordingSession::writeFirstRecords() {
    if (auto written = m_services.files.writeLock(m_folder); !written) {
        m_startupWarnings.append(Strings::lockWriteFailed(written.error()));
    }
    const auto meta =
        store::MeetingMeta::started(m_startDate, m_autoShotsEverOn, mode(), m_services.wallClock.timeZone());
    if (auto written = m_services.files.writeMeta(meta, m_folder); !written) {
        m_startupWarnings.append(Strings::metaWriteFailed(written.error()));
    }
}

std::optional<TrackError> RecordingSession::openTracks() {
    auto mic = m_services.roles.makeTrack(m_folder / "mic.caf", "mic", m_startHost);
    if (!mic) {
        return TrackError{mic.error()};
    }
    auto system = m_services.roles.makeTrack(m_folder / "system.caf", "system", m_startHost);
    if (!system) {
        return TrackError{system.error()};
    }
    m_micTrack = *std::move(mic);
    m_systemTrack = *std::move(system);
    return std::nullopt;
}

void RecordingSession::makeSources(const std::optional<capture::Display>& display) {
    m_mic = m_services.roles.makeMicrophone(m_micTrack);
    m_system = m_services.roles.makeSystemSound(m_systemTrack);
    if (display) {
        m_shooter = m_services.roles.makeShooter(*display, m_folder / "shots", m_startHost);
    }
}

std::optional<QString> RecordingSession::mode() const {
    return m_practice ? std::optional(store::MeetingMeta::practiceMode) : std::nullopt;
}

// ---- Begin

void RecordingSession::begin(const std::optional<capture::Display>& display, Begun completion) {
    auto race = std::make_shared<capture::FirstWins>();
    auto& main = m_services.dispatch.main();
    main.after(capture::MicCapture::startTimeout(), [self = weak_from_this(), race, completion] {
        if (!race->claim()) {
            return;
        }
        if (const auto session = self.lock()) {
            session->abandon();
        }
        completion(capture::CaptureError{capture::CaptureError::Kind::Timeout, {}});
    });
    // The task keeps the session for as long as the microphone takes to open, however long after the limit that is.
    m_services.dispatch.background(base::Priority::UserInitiated,
                                   [self = shared_from_this(), race, completion, display, &main] {
                                       auto error = self->m_mic->start();
                                       if (!race->claim()) {
                                           if (!error) {
                                               self->m_mic->stop(); // it opened for a recording that has been given up
                                           }
                                           return;
                                       }
                                       main.post([self, completion, display, error = std::move(error)] {
                                           if (error) {
                                               self->abandon();
                                               completion(*error);
                                           } else {
                                               self->continueBegin(display, completion);
                                           }
                                       });
                                   });
}

void RecordingSession::continueBegin(const std::optional<capture::Display>& display, const Begun& completion) {
    routeErrors();
    m_activity = m_services.keepAwake.hold(u"Tarvex recording"_s);
    if (!display || m_practice) {
        m_systemTrack->discard();
        startTimers();
        completion(std::nullopt);
        return;
    }
    m_system->start(*display, [self = shared_from_this(), completion](const std::optional<QString>& error) {
        if (error) {
            self->m_systemTrack->discard();
            self->warn(Strings::systemAudioFailed(*error));
        } else {
            self->m_systemRunning = true;
        }
        self->startTimers();
        completion(std::nullopt);
    });
}

void RecordingSession::routeErrors() {
    const OnError toWarning = [self = weak_from_this()](const QString& text) {
        if (const auto session = self.lock()) {
            session->warn(text);
        }
    };
    m_mic->setOnError(toWarning);
    m_system->setOnError(toWarning);
    if (m_shooter) {
        m_shooter->setOnError(toWarning);
    }
}

void RecordingSession::abandon() {
    m_micTrack->discard();
    m_systemTrack->discard();
    m_services.files.removeLock();
    m_services.files.removeFolder(m_folder);
}

// ---- While it runs

double RecordingSession::elapsed() const {
    return m_services.hostClock.now() - m_startHost;
}

void RecordingSession::setAutoShots(bool on) {
    m_autoShots = on && canShoot();
    m_autoShotsEverOn = m_autoShotsEverOn || m_autoShots;
}

void RecordingSession::takeShot() {
    if (m_shooter) {
        m_shooter->capture(Shooter::Force::Yes);
    }
}

void RecordingSession::restartMicForTest() {
    m_mic->restartNow();
}

int RecordingSession::micRestarts() {
    return m_mic->restartCount();
}

void RecordingSession::warn(const QString& text) {
    if (onWarning) {
        onWarning(text);
    }
}

void RecordingSession::startTimers() {
    auto& main = m_services.dispatch.main();
    const auto each = [this, &main](double seconds, void (RecordingSession::*tick)()) {
        return main.every(seconds, [self = weak_from_this(), tick] {
            if (const auto session = self.lock()) {
                ((*session).*tick)();
            }
        });
    };
    if (m_shooter) {
        if (m_autoShots) {
            m_shooter->capture(Shooter::Force::Yes);
        }
        m_shotTimer = each(capture::ScreenShooter::interval, &RecordingSession::shotTick);
    }
    m_meterTimer = each(meterInterval, &RecordingSession::meterTick);
    m_healthTimer = each(capture::HealthCheck::interval, &RecordingSession::healthTick);
}

void RecordingSession::shotTick() {
    if (m_autoShots) {
        m_shooter->capture(Shooter::Force::No);
    }
}

void RecordingSession::meterTick() {
    const double mic = m_micTrack->takeLevelDB().value_or(capture::LevelMeter::silenceDB);
    std::optional<double> system;
    if (m_systemRunning) {
        system = m_systemTrack->takeLevelDB().value_or(capture::LevelMeter::silenceDB);
    }
    if (onLevels) {
        onLevels(mic, system);
    }
}

void RecordingSession::healthTick() {
    if (m_healthAsked) {
        return; // a track that is stuck in the disk answers late, and to one question at a time
    }
    m_healthAsked = true;
    auto& main = m_services.dispatch.main();
    const auto system = m_systemRunning ? m_systemTrack : nullptr;
    m_services.dispatch.background(base::Priority::Default, [self = weak_from_this(), mic = m_micTrack, system, &main] {
        const auto micNow = mic->health();
        const auto systemNow = system ? std::optional(system->health()) : std::nullopt;
        main.post([self, micNow, systemNow] {
            if (const auto session = self.lock()) {
                session->judgeHealth(micNow, systemNow);
            }
        });
    });
}

void RecordingSession::judgeHealth(const capture::TrackHealth& mic, const std::optional<capture::TrackHealth>& system) {
    m_healthAsked = false;
    if (!m_healthTimer) {
        return; // the recording has been stopped meanwhile
    }
    const auto micWindow = capture::HealthCheck::window(mic, m_previousMic);
    const auto systemWindow =
        system ? std::optional(capture::HealthCheck::window(*system, m_previousSystem)) : std::nullopt;
    const QStringList current = capture::HealthCheck::problems(elapsed(), micWindow, systemWindow);
    m_previousMic = mic;
    m_previousSystem = system;

    const QStringList resolved = capture::HealthCheck::resolved(m_activeHealth, current);
    m_activeHealth = {current.begin(), current.end()};
    for (const QString& text : resolved) {
        if (onWarningCleared) {
            onWarningCleared(text);
        }
    }
    for (const QString& text : current) {
        warn(text); // at each tick: who listens drops what is already shown
    }
}

// ---- Stop

void RecordingSession::stop(std::function<void(double)> onConverting,
                            std::function<void(store::StoppedSession)> completion) {
    m_shotTimer.reset();
    m_meterTimer.reset();
    m_healthTimer.reset();
    const double now = m_services.hostClock.now();
    m_micTrack->endAt(now);
    m_systemTrack->endAt(now);
    auto stop = std::make_shared<Stop>();
    stop->onConverting = std::move(onConverting);
    stop->completion = std::move(completion);
    stop->result = {.folder = m_folder,
                    .start = m_startDate,
                    .end = m_services.wallClock.now(),
                    .duration = now - m_startHost,
                    .screenshotsEnabled = m_autoShotsEverOn,
                    .micSeconds = 0,
                    .systemSeconds = std::nullopt,
                    .shots = 0,
                    .practice = m_practice};
    writeFinishedRecord(*stop);
    m_services.dispatch.background(base::Priority::UserInitiated,
                                   [self = shared_from_this(), stop] { self->stopSources(stop); });
}

void RecordingSession::writeFinishedRecord(const Stop& stop) {
    const auto& result = stop.result;
    const auto meta = store::MeetingMeta::make(result.start, result.end, result.duration, std::nullopt,
                                               result.screenshotsEnabled, mode(), m_services.wallClock.timeZone());
    if (auto written = m_services.files.writeMeta(meta, m_folder); !written) {
        warn(Strings::metaWriteFailed(written.error()));
    }
}

void RecordingSession::stopSources(const std::shared_ptr<Stop>& stop) {
    stop->result.shots = m_shooter ? m_shooter->stop() : 0;
    m_micTrack->awaitEnd(); // what was said up to the stop is on its way still
    if (m_systemRunning) {
        m_systemTrack->awaitEnd();
    }
    m_mic->stop();
    m_system->stop([self = shared_from_this(), stop] { self->finishTracks(stop); });
}

void RecordingSession::finishTracks(const std::shared_ptr<Stop>& stop) {
    const double duration = stop->result.duration;
    m_services.dispatch.main().post([stop, duration] {
        if (stop->onConverting) {
            stop->onConverting(duration);
        }
    });
    std::vector<fs::path> cafs = {m_micTrack->url()};
    stop->result.micSeconds = m_micTrack->finish(duration);
    if (m_systemRunning) {
        stop->result.systemSeconds = m_systemTrack->finish(duration);
        cafs.push_back(m_systemTrack->url());
    }
    stop->conversionsLeft = cafs.size();
    for (const fs::path& caf : cafs) {
        m_services.dispatch.background(base::Priority::UserInitiated,
                                       [self = shared_from_this(), stop, caf] { self->convert(stop, caf); });
    }
}

void RecordingSession::convert(const std::shared_ptr<Stop>& stop, const fs::path& caf) {
    const fs::path m4a = m_services.roles.m4aURL(caf);
    const auto converted = m_services.roles.convertToM4A(caf, m4a);
    // The CAF is the only copy until the m4a and its name have reached the disk.
    const auto kept = converted ? m_services.files.makeDurable(m4a) : std::unexpected(converted.error());
    if (kept) {
        m_services.files.removeFile(caf);
    }
    {
        const std::scoped_lock guard(stop->lock);
        if (!kept) {
            stop->failures.append(kept.error());
        }
        if (--stop->conversionsLeft > 0) {
            return;
        }
    }
    conversionsEnded(stop);
}

void RecordingSession::conversionsEnded(const std::shared_ptr<Stop>& stop) {
    m_services.files.removeLock();
    m_services.dispatch.main().post([self = shared_from_this(), stop] { self->stopped(*stop); });
}

void RecordingSession::stopped(const Stop& stop) {
    m_activity.reset();
    for (const QString& text : stop.failures) {
        warn(Strings::convertFailed(text));
    }
    stop.completion(stop.result);
}

} // namespace entry
