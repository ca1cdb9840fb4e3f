// A whole recording, from the first folder to the removed lock, with real tracks and files: whenever the power goes,
// the folder can be healed, at most about a second of sound is missing, and once stop is over nothing is.
#include "capture/AudioTrackWriter.h"
#include "capture/TrackFlusher.h"
#include "entry/CaptureRoles.h"
#include "entry/RecordingSession.h"
#include "entry/StoreFiles.h"
#include "fakes/FakeAudioInput.h"
#include "fakes/FakeKeepAwake.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/FakeSystemAudioSource.h"
#include "fakes/ManualScheduler.h"
#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"
#include "media/AudioReader.h"
#include "powercut/Cuts.h"
#include "powercut/Recording.h"
#include "store/AppPaths.h"
#include "store/MeetingArchive.h"
#include "store/Recovery.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

using powercut::Cut;
using powercut::tryCuts;
namespace fs = std::filesystem;

namespace {

constexpr int recordedSeconds = 4;
constexpr int blocksPerSecond = 10;
/// What may be missing: what came since the last flush began, and one block.
constexpr double toleratedLoss = capture::TrackFlusher::interval + 2.0 / blocksPerSecond;

std::string secondMark(int second) {
    return "second " + std::to_string(second);
}

/// The length of the sound in a file, readable to its end or not; 0 if there is no such file.
double secondsIn(const fs::path& path) {
    const auto reader = media::AudioReader::open(path, capture::AudioTrackWriter::sampleRate);
    if (!reader) {
        return 0;
    }
    std::vector<float> frames(48000);
    while ((*reader)->read(frames).value_or(0) > 0) {
    }
    return (*reader)->secondsRead();
}

/// Reads the CAF as the real conversion does and notes its length instead of encoding it, which would take minutes for
/// all the cuts.
std::expected<double, store::ConvertFailure> noteLength(const fs::path& caf, const fs::path& m4a) {
    const double seconds = secondsIn(caf);
    if (seconds == 0) {
        return std::unexpected(store::ConvertFailure{store::ConvertError::Empty, {}});
    }
    if (!base::replaceFile(m4a, QByteArray::number(seconds))) {
        return std::unexpected(store::ConvertFailure{});
    }
    return seconds;
}

double notedOrReadSeconds(const fs::path& m4a) {
    bool noted = false;
    const double seconds = base::readFile(m4a).value_or(QByteArray()).toDouble(&noted);
    return noted ? seconds : secondsIn(m4a);
}

class RecordingPowerCutTest : public testing::Test {
protected:
    fakes::TemporaryFolder home;
    fakes::ScopedVariable homeVariable{"TARVEX_HOME", home.path.string()};
    fakes::ManualDispatch dispatch;
    fakes::ManualWallClock wallClock;
    fakes::FakeAudioInput input;
    fakes::FakeSystemAudioSource systemAudio;
    fakes::FakeScreenSource screens;
    fakes::FakeKeepAwake keepAwake;
    entry::CaptureRoles roles{{dispatch, dispatch.clock, input, systemAudio, screens}};
    entry::StoreFiles files;
    std::shared_ptr<entry::RecordingSession> session;

    void SetUp() override {
        ASSERT_TRUE(store::AppPaths::prepare());
        const capture::Display display{.id = 1, .frame = {0, 0, 64, 40}, .pixelWidth = 64, .pixelHeight = 40};
        screens.nextContent = capture::ScreenContent{.displays = {display}, .windows = {}, .mainDisplay = 1};
    }

    void start() {
        const entry::RecordingSession::Services services{dispatch, dispatch.clock, wallClock, screens,
                                                         roles,    files,          keepAwake};
        entry::RecordingSession::start(services,
                                       {.meetingsDirectory = store::AppPaths::meetings(),
                                        .screenshots = false,
                                        .screenCapture = true,
                                        .practice = false,
                                        .onWarning = [](const QString& text) { ADD_FAILURE() << text.toStdString(); }},
                                       [this](entry::RecordingSession::Started result) {
                                           ASSERT_TRUE(result);
                                           session = *std::move(result);
                                       });
        dispatch.runDue();
        systemAudio.confirm(0);
        dispatch.runDue();
        ASSERT_TRUE(session);
        ASSERT_TRUE(session->systemRunning());
    }

    void speak(powercut::Recording& recording) {
        const std::vector<std::int16_t> samples(48000 / blocksPerSecond, 1000);
        const capture::AudioFormat format{capture::SampleType::Int16, 48000.0, 1};
        for (int block = 1; block <= recordedSeconds * blocksPerSecond; ++block) {
            const double stamp = dispatch.clock.now();
            const auto bytes = std::as_bytes(std::span(samples));
            dispatch.advance(1.0 / blocksPerSecond);
            input.deliver(0, {format, bytes, stamp});
            systemAudio.deliver(0, {format, bytes, stamp});
            dispatch.runDue();
            if (block % blocksPerSecond == 0) {
                recording.mark(secondMark(block / blocksPerSecond));
            }
        }
    }

    void stop() {
        bool ended = false;
        session->stop({}, [&ended](const store::StoppedSession&) { ended = true; });
        dispatch.runDue();
        systemAudio.confirmStop(0);
        dispatch.runDue();
        ASSERT_TRUE(ended);
    }

    powercut::History record() {
        powercut::Recording recording(home.path);
        start();
        speak(recording);
        stop();
        recording.mark("stopped");
        return recording.finish();
    }

    /// Heals what is left and says what is missing.
    std::string missingAfterHealing(const Cut& cut, const store::ConvertToM4A& convert) const {
        const fs::path meetings = cut.folder / "Meetings";
        std::ignore = store::Recovery::run(meetings, [](const fs::path&) { return false; }, convert, wallClock);
        double due = -toleratedLoss;
        for (int second = 1; second <= recordedSeconds && cut.isAfter(secondMark(second)); ++second) {
            due = second - toleratedLoss;
        }
        const bool stopped = cut.isAfter("stopped");
        const double wanted = stopped ? recordedSeconds : due;
        if (wanted <= 0) {
            return "";
        }
        const auto records = store::MeetingLibrary::load(meetings, {}, wallClock.zone);
        if (records.size() != 1 || !records.front().hasMeta) {
            return "the meeting is not whole";
        }
        for (const fs::path& track : {records.front().micURL(), records.front().systemURL()}) {
            if (const double seconds = notedOrReadSeconds(track); seconds < wanted) {
                return track.filename().string() + " has " + std::to_string(seconds) + " of " + std::to_string(wanted) +
                       " seconds";
            }
        }
        if (!store::MeetingLibrary::endDate(records.front().folder) || !records.front().duration ||
            *records.front().duration < wanted - 0.1) {
            return "the record is not complete";
        }
        return "";
    }
};

TEST_F(RecordingPowerCutTest, AtMostAboutASecondIsMissingAndNothingOnceStopIsOver) {
    const auto history = record();
    EXPECT_EQ(tryCuts(history, [this](const Cut& cut) { return missingAfterHealing(cut, noteLength); }, 2, 3), "");
    // A few with the real conversion.
    const auto stride = history.steps.size() / 4;
    EXPECT_EQ(tryCuts(
                  history,
                  [this](const Cut& cut) { return missingAfterHealing(cut, capture::AudioTrackWriter::convertToM4A); },
                  0, stride),
              "");
}

} // namespace
