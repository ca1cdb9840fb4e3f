// The parts of a recording without devices: each can fail, be slow, and says in one log what was asked of it.
//   Files    tracks make real files, so that a folder can be looked at after any step
#pragma once

#include "entry/RecordingRoles.h"
#include "entry/StoreFiles.h"

#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace fakes {

/// What was done, in order. `onStep` sees the world just before each step.
struct StepLog {
    std::vector<std::string> steps;
    std::function<void(const std::string& step)> onStep;

    void add(const std::string& step) {
        if (onStep) {
            onStep(step);
        }
        steps.push_back(step);
    }
};

struct FakeTrack final : entry::Track {
    FakeTrack(StepLog& stepLog, std::filesystem::path file, std::string name, double start)
        : log(stepLog)
        , path(std::move(file))
        , label(std::move(name))
        , startHost(start) {
        std::ofstream(path) << "frames of " << label;
    }

    [[nodiscard]] const std::filesystem::path& url() const override { return path; }

    void discard() override {
        log.add("discard " + label);
        discarded = true;
        std::filesystem::remove(path);
    }

    void endAt(double hostSeconds) override { endedAt = hostSeconds; }

    void awaitEnd() override { log.add("await " + label); }

    [[nodiscard]] double finish(double totalSeconds) override {
        log.add("finish " + label);
        finishedWith = totalSeconds;
        return lengthAtFinish.value_or(totalSeconds);
    }

    [[nodiscard]] capture::TrackHealth health() override { return healthNow; }

    [[nodiscard]] std::optional<double> takeLevelDB() override { return level; }

    [[nodiscard]] std::shared_ptr<capture::CaptureSink> sink() const override { return nullptr; }

    StepLog& log;
    std::filesystem::path path;
    std::string label;
    double startHost;
    bool discarded = false;
    std::optional<double> endedAt;
    std::optional<double> finishedWith;
    std::optional<double> lengthAtFinish;
    capture::TrackHealth healthNow;
    std::optional<double> level;
};

struct FakeMicrophone final : entry::Microphone {
    explicit FakeMicrophone(StepLog& stepLog) : log(stepLog) {}

    [[nodiscard]] std::optional<capture::CaptureError> start() override {
        log.add("start mic");
        ++starts;
        if (!error) {
            running = true;
        }
        return error;
    }

    void stop() override {
        log.add("stop mic");
        running = false;
    }

    void restartNow() override { ++restarts; }

    [[nodiscard]] int restartCount() override { return restarts; }

    void setOnError(entry::OnError handler) override { onError = std::move(handler); }

    StepLog& log;
    std::optional<capture::CaptureError> error;
    entry::OnError onError;
    bool running = false;
    int starts = 0;
    int restarts = 0;
};

struct FakeSystemSound final : entry::SystemSound {
    explicit FakeSystemSound(StepLog& stepLog) : log(stepLog) {}

    void start(const capture::Display& display, std::function<void(std::optional<QString>)> completion) override {
        log.add("start system");
        startedOn = display;
        if (holdStart) {
            heldStart = std::move(completion);
        } else {
            completion(error);
        }
    }

    void stop(std::function<void()> completion) override {
        log.add("stop system");
        if (holdStop) {
            heldStop = std::move(completion);
        } else {
            completion();
        }
    }

    void setOnError(entry::OnError handler) override { onError = std::move(handler); }

    StepLog& log;
    std::optional<QString> error;
    bool holdStart = false;
    bool holdStop = false;
    std::function<void(std::optional<QString>)> heldStart;
    std::function<void()> heldStop;
    std::optional<capture::Display> startedOn;
    entry::OnError onError;
};

struct FakeShooter final : entry::Shooter {
    explicit FakeShooter(StepLog& stepLog) : log(stepLog) {}

    void capture(Force force) override { captures.push_back(force); }

    [[nodiscard]] std::int64_t stop() override {
        log.add("stop shooter");
        return saved;
    }

    void setOnError(entry::OnError handler) override { onError = std::move(handler); }

    StepLog& log;
    std::vector<Force> captures;
    std::int64_t saved = 0;
    entry::OnError onError;
};

class FakeRecordingRoles final : public entry::RecordingRoles {
public:
    explicit FakeRecordingRoles(StepLog& stepLog) : log(stepLog) {}

    /// An answer that was never given holds the session, which holds who should give it.
    ~FakeRecordingRoles() override {
        if (system) {
            system->heldStart = {};
            system->heldStop = {};
        }
    }

    // Set before the start; the made roles take them over.
    std::map<std::string, QString> trackErrors; ///< by label
    std::optional<capture::CaptureError> micError;
    std::optional<QString> systemError;
    bool holdSystemStart = false;
    bool holdSystemStop = false;
    std::map<std::string, QString> conversionErrors; ///< by the CAF's name

    // What was made last.
    StepLog& log;
    std::map<std::string, std::shared_ptr<FakeTrack>> tracks;
    std::shared_ptr<FakeMicrophone> mic;
    std::shared_ptr<FakeSystemSound> system;
    std::shared_ptr<FakeShooter> shooter;
    std::optional<capture::Display> shooterDisplay;
    std::filesystem::path shooterDirectory;
    double shooterStart = 0;

    std::expected<std::shared_ptr<entry::Track>, QString>
    makeTrack(const std::filesystem::path& url, const std::string& label, double startHost) override {
        log.add("make track " + label);
        if (const auto error = trackErrors.find(label); error != trackErrors.end()) {
            return std::unexpected(error->second);
        }
        tracks[label] = std::make_shared<FakeTrack>(log, url, label, startHost);
        return tracks[label];
    }

    std::shared_ptr<entry::Microphone> makeMicrophone(const std::shared_ptr<entry::Track>&) override {
        mic = std::make_shared<FakeMicrophone>(log);
        mic->error = micError;
        return mic;
    }

    std::shared_ptr<entry::SystemSound> makeSystemSound(const std::shared_ptr<entry::Track>&) override {
        system = std::make_shared<FakeSystemSound>(log);
        system->error = systemError;
        system->holdStart = holdSystemStart;
        system->holdStop = holdSystemStop;
        return system;
    }

    std::shared_ptr<entry::Shooter> makeShooter(const capture::Display& display, const std::filesystem::path& directory,
                                                double startHost) override {
        shooterDisplay = display;
        shooterDirectory = directory;
        shooterStart = startHost;
        shooter = std::make_shared<FakeShooter>(log);
        return shooter;
    }

    [[nodiscard]] std::filesystem::path m4aURL(const std::filesystem::path& caf) const override {
        return std::filesystem::path(caf).replace_extension("m4a");
    }

    std::expected<double, QString> convertToM4A(const std::filesystem::path& caf,
                                                const std::filesystem::path& m4a) override {
        const std::string name = caf.filename().string();
        log.add("convert " + name);
        if (const auto error = conversionErrors.find(name); error != conversionErrors.end()) {
            return std::unexpected(error->second);
        }
        std::filesystem::copy_file(caf, m4a, std::filesystem::copy_options::overwrite_existing);
        return 1.0;
    }
};

/// The real files, with failures where a test wants them and every step in the log.
class FakeRecordingFiles final : public entry::RecordingFiles {
public:
    explicit FakeRecordingFiles(StepLog& stepLog) : log(stepLog) {}

    StepLog& log;
    std::optional<QString> folderError;
    std::optional<QString> lockError;
    std::optional<QString> metaError;
    std::map<std::string, QString> durableErrors; ///< by file name

    [[nodiscard]] bool exists(const std::filesystem::path& path) override { return m_real.exists(path); }

    [[nodiscard]] Result makeFolders(const std::filesystem::path& folder) override {
        log.add("make folders");
        return folderError ? Result(std::unexpected(*folderError)) : m_real.makeFolders(folder);
    }

    [[nodiscard]] Result writeLock(const std::filesystem::path& folder) override {
        log.add("write lock");
        return lockError ? Result(std::unexpected(*lockError)) : m_real.writeLock(folder);
    }

    void removeLock() override {
        log.add("remove lock");
        m_real.removeLock();
    }

    [[nodiscard]] Result writeMeta(const store::MeetingMeta& meta, const std::filesystem::path& folder) override {
        log.add("write meta");
        return metaError ? Result(std::unexpected(*metaError)) : m_real.writeMeta(meta, folder);
    }

    [[nodiscard]] Result makeDurable(const std::filesystem::path& file) override {
        const std::string name = file.filename().string();
        log.add("make durable " + name);
        const auto error = durableErrors.find(name);
        return error != durableErrors.end() ? Result(std::unexpected(error->second)) : m_real.makeDurable(file);
    }

    void removeFile(const std::filesystem::path& file) override {
        log.add("remove " + file.filename().string());
        m_real.removeFile(file);
    }

    void removeFolder(const std::filesystem::path& folder) override {
        log.add("remove folder");
        m_real.removeFolder(folder);
    }

private:
    entry::StoreFiles m_real;
};

} // namespace fakes
