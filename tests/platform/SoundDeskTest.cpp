// The sound edge against a real server that is ill-treated. Runs on a private desktop; see tests/desk/desk.
#include "platform/SoundDesk.h"

#include "capture/FirstWins.h"
#include "copy/DesktopCopy.h"
#include "copy/Strings.h"
#include "platform/ClickPlayer.h"
#include "platform/Recorder.h"
#include "platform/TrackListener.h"
#include "platform/linux/PulseMonitor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>
#include <unistd.h>

namespace platform::linux_desktop {
namespace {

using namespace Qt::StringLiterals;
using Who = ClickPlayer::Who;

constexpr double soon = 15; // seconds that a loaded machine gets for what takes none

double now() {
    return base::MonotonicClock().now();
}

void listenFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

bool comesTrue(const std::function<bool()>& condition, double limit = soon) {
    for (const double end = now() + limit; now() < end; listenFor(0.01)) {
        if (condition()) {
            return true;
        }
    }
    return false;
}

/// How far the median click may lie from its place. Seconds.
double tolerance() {
    return SoundDesk::isPipeWire() ? 0.025 : 0.010;
}

class SoundDeskTest : public testing::Test {
protected:
    SoundDeskTest() { SoundDesk::restore(); }

    ~SoundDeskTest() override { SoundDesk::resume(); }

    static void expectInPlace(const TrackListener::Offsets& offsets, const char* what) {
        EXPECT_TRUE(offsets.allFound()) << what << ": " << offsets.seconds.size() << " of " << offsets.expected;
        EXPECT_GT(offsets.expected, 0u) << what;
        EXPECT_LE(std::abs(offsets.median()), tolerance()) << what;
    }

    [[nodiscard]] static TrackListener::Offsets heard(const std::filesystem::path& track, const Recorder& recorder,
                                                      const Clicks& clicks, double from, double until) {
        return TrackListener::compare(TrackListener::clicksIn(track), clicks, recorder.startSeconds(), from, until);
    }

    static void waitForMicBlocks(Recorder& recorder) {
        const auto before = recorder.micBlocks();
        EXPECT_TRUE(comesTrue([&] { return recorder.micBlocks() > before + 2; }));
    }

    static void waitForSystemBlocks(Recorder& recorder) {
        const auto before = recorder.systemBlocks();
        EXPECT_TRUE(comesTrue([&] { return recorder.systemBlocks() > before + 2; }));
    }

    static void makeDefaultSource(const QString& name) {
        EXPECT_TRUE(comesTrue([&] {
            return SoundDesk::tryPactl({u"set-default-source"_s, name}) &&
                   SoundDesk::pactl({u"get-default-source"_s}) == name;
        }));
    }
};

TEST_F(SoundDeskTest, SoundStandsAtItsPlaceInBothTracks) {
    const ClickPlayer room("room");
    const ClickPlayer speakers("speakers");
    Recorder recorder;
    ASSERT_EQ(recorder.start(), std::nullopt);
    listenFor(5);
    recorder.stop();
    const double from = recorder.startSeconds() + 0.7;
    const auto mic = heard(recorder.micTrack(), recorder, room.clicks(), from, from + 4);
    const auto system = heard(recorder.systemTrack(), recorder, speakers.clicks(), from, from + 4);
    expectInPlace(mic, "microphone");
    expectInPlace(system, "system");
    EXPECT_LE(std::abs(mic.median() - system.median()), tolerance());
    EXPECT_TRUE(recorder.reports().empty());
}

TEST_F(SoundDeskTest, SwitchedDefaultMicrophoneCostsLittleAndItsSoundStandsAtItsPlace) {
    SoundDesk::addMicrophone(u"second"_s, 44100, 1); // another rate and another count of channels
    makeDefaultSource(u"mic1"_s);
    const ClickPlayer room("room");
    const ClickPlayer second("second-room");
    Recorder recorder;
    ASSERT_EQ(recorder.startMic(), std::nullopt);
    listenFor(2);
    const double switched = now();
    makeDefaultSource(u"second"_s);
    EXPECT_TRUE(comesTrue([&] { return recorder.mic().restartCount() >= 1; }));
    listenFor(4);
    const double end = now() - 0.5;
    recorder.stop();
    expectInPlace(heard(recorder.micTrack(), recorder, room.clicks(), recorder.startSeconds() + 0.7, switched),
                  "before");
    expectInPlace(heard(recorder.micTrack(), recorder, second.clicks(), switched + 1.5, end), "after");
}

TEST_F(SoundDeskTest, UnpluggedMicrophoneIsReportedAndComesBackWhenItIsPluggedIn) {
    const auto module = SoundDesk::addMicrophone(u"usb"_s);
    makeDefaultSource(u"usb"_s);
    SoundDesk::pactl({u"unload-module"_s, u"module-remap-source"_s}); // takes mic1 and usb
    SoundDesk::load({u"module-remap-source"_s, u"master=usb-room.monitor"_s, u"source_name=usb2"_s});
    makeDefaultSource(u"usb2"_s);
    const ClickPlayer player("usb-room");
    Recorder recorder;
    ASSERT_EQ(recorder.startMic(), std::nullopt);
    waitForMicBlocks(recorder);
    SoundDesk::pactl({u"unload-module"_s, u"module-remap-source"_s});
    const capture::CaptureError none{capture::CaptureError::Kind::NoMicrophone, {}};
    EXPECT_TRUE(comesTrue([&] { return recorder.reports() == std::vector{none.text()}; }));
    SoundDesk::load({u"module-remap-source"_s, u"master=usb-room.monitor"_s, u"source_name=usb3"_s});
    makeDefaultSource(u"usb3"_s);
    waitForMicBlocks(recorder);
    const double back = now();
    listenFor(3);
    recorder.stop();
    expectInPlace(heard(recorder.micTrack(), recorder, player.clicks(), back, back + 2.5), "after");
    EXPECT_EQ(recorder.reports().size(), 1u);
}

TEST_F(SoundDeskTest, BothTracksSurviveTheDeathOfTheServer) {
    Recorder recorder;
    ASSERT_EQ(recorder.start(), std::nullopt);
    waitForMicBlocks(recorder);
    waitForSystemBlocks(recorder);
    SoundDesk::kill();
    SoundDesk::start();
    waitForMicBlocks(recorder);
    waitForSystemBlocks(recorder);
    const ClickPlayer room("room");
    const ClickPlayer speakers("speakers");
    const double back = now();
    listenFor(3);
    recorder.stop();
    expectInPlace(heard(recorder.micTrack(), recorder, room.clicks(), back, back + 2.5), "microphone");
    expectInPlace(heard(recorder.systemTrack(), recorder, speakers.clicks(), back, back + 2.5), "system");
}

TEST_F(SoundDeskTest, MicrophoneComesBackWithAServerThatWasGoneForLongerThanAllRetries) {
    Recorder recorder;
    ASSERT_EQ(recorder.startMic(), std::nullopt);
    waitForMicBlocks(recorder);
    SoundDesk::kill();
    const capture::CaptureError gone{capture::CaptureError::Kind::CannotUse,
                                     copy::DesktopCopy::current().noSoundServer};
    EXPECT_TRUE(comesTrue([&] { return recorder.reports() == std::vector{gone.text()}; }));
    SoundDesk::start();
    waitForMicBlocks(recorder);
}

TEST_F(SoundDeskTest, ServerThatHangsForAWhileMovesNothing) {
    const ClickPlayer room("room");
    Recorder recorder;
    ASSERT_EQ(recorder.startMic(), std::nullopt);
    waitForMicBlocks(recorder);
    SoundDesk::hang();
    listenFor(1.2);
    SoundDesk::resume();
    waitForMicBlocks(recorder);
    listenFor(0.5);
    const ClickPlayer after("room"); // the one before was held up itself
    listenFor(3);
    const double end = now() - 0.5;
    recorder.stop();
    const auto offsets = heard(recorder.micTrack(), recorder, after.clicks(), end - 2.5, end);
    EXPECT_GT(offsets.expected, 0u);
    EXPECT_LE(std::abs(offsets.median()), tolerance() + StreamClock::gapSeconds);
}

TEST_F(SoundDeskTest, ServerThatHangsFailsAnOpenWithinItsLimit) {
    SoundDesk::hang();
    PulseInput input(std::make_shared<PulseLoop>());
    const double asked = now();
    const auto opened = input.open({}, nullptr);
    ASSERT_FALSE(opened.has_value());
    EXPECT_EQ(opened.error(), (capture::CaptureError{capture::CaptureError::Kind::CannotUse,
                                                     copy::DesktopCopy::current().soundServerSilent}));
    EXPECT_LT(now() - asked, PulseInput::openLimit + 2);
}

qsizetype captures() {
    return SoundDesk::pactl({u"list"_s, u"short"_s, u"source-outputs"_s}).count(u'\n');
}

TEST_F(SoundDeskTest, MicrophoneThatOpensAfterTheTimeLimitIsLetGo) {
    const auto before = captures();
    SoundDesk::hang();
    auto recorder = std::make_unique<Recorder>();
    capture::FirstWins race;
    std::optional<capture::CaptureError> error;
    std::thread starter([&] {
        error = recorder->startMic();
        if (!race.claim() && !error) {
            recorder->mic().stop();
        }
    });
    EXPECT_TRUE(race.claim()); // the limit
    SoundDesk::resume();
    starter.join();
    EXPECT_EQ(error, std::nullopt);
    EXPECT_TRUE(comesTrue([&] { return captures() == before; }));
    const auto blocks = recorder->micBlocks();
    listenFor(0.3);
    EXPECT_EQ(recorder->micBlocks(), blocks);
}

TEST_F(SoundDeskTest, ChangedDefaultOutputIsFollowedWithinAThirdOfASecond) {
    constexpr double fast = 0.15;
    auto speakers = std::make_unique<ClickPlayer>("speakers", Who::OtherProgram, fast);
    Recorder recorder;
    ASSERT_EQ(recorder.startSystem(), std::nullopt);
    waitForSystemBlocks(recorder);
    listenFor(1);
    const auto onSpeakers = speakers->clicks();
    const double switched = now() - 0.2;
    speakers.reset(); // a server may take it along to the new output
    const ClickPlayer room("room", Who::OtherProgram, fast);
    SoundDesk::pactl({u"set-default-sink"_s, u"room"_s});
    const double told = now();
    listenFor(2);
    recorder.stop();
    const auto before = heard(recorder.systemTrack(), recorder, onSpeakers, recorder.startSeconds() + 0.7, switched);
    const auto after = heard(recorder.systemTrack(), recorder, room.clicks(), told + 0.3, told + 1.6);
    expectInPlace(before, "before");
    expectInPlace(after, "after");
    EXPECT_TRUE(recorder.reports().empty());
}

TEST_F(SoundDeskTest, RemovedOutputIsNoEnd) {
    const QString module = SoundDesk::load({u"module-null-sink"_s, u"sink_name=usb-speakers"_s});
    EXPECT_TRUE(comesTrue([&] {
        return SoundDesk::tryPactl({u"set-default-sink"_s, u"usb-speakers"_s}) &&
               SoundDesk::pactl({u"get-default-sink"_s}) == u"usb-speakers";
    }));
    Recorder recorder;
    ASSERT_EQ(recorder.startSystem(), std::nullopt);
    waitForSystemBlocks(recorder);
    SoundDesk::unload(module);
    waitForSystemBlocks(recorder);
    const QString now_default = SoundDesk::pactl({u"get-default-sink"_s});
    const ClickPlayer player(now_default.toStdString());
    const double begin = now();
    listenFor(2.5);
    recorder.stop();
    expectInPlace(heard(recorder.systemTrack(), recorder, player.clicks(), begin, begin + 2), "after");
    EXPECT_TRUE(recorder.reports().empty());
}

TEST_F(SoundDeskTest, SystemAudioThatIsReallyLostIsReportedOnce) {
    Recorder recorder;
    ASSERT_EQ(recorder.startSystem(), std::nullopt);
    waitForSystemBlocks(recorder);
    SoundDesk::kill();
    const auto text = copy::Strings::systemAudioStopped(copy::DesktopCopy::current().noSoundServer);
    EXPECT_TRUE(comesTrue([&] { return recorder.reports() == std::vector{text}; }));
    listenFor(2.5);
    EXPECT_EQ(recorder.reports().size(), 1u);
}

TEST_F(SoundDeskTest, WithoutAServerBothSayWhy) {
    SoundDesk::kill();
    Recorder recorder;
    const QString reason = copy::DesktopCopy::current().noSoundServer;
    EXPECT_EQ(recorder.startMic(), (capture::CaptureError{capture::CaptureError::Kind::CannotUse, reason}));
    EXPECT_EQ(recorder.startSystem(), reason);
}

TEST_F(SoundDeskTest, DefaultThatOnlyPlaysBackIsNoMicrophone) {
    SoundDesk::pactl({u"unload-module"_s, u"module-remap-source"_s});
    Recorder recorder;
    EXPECT_EQ(recorder.startMic(), (capture::CaptureError{capture::CaptureError::Kind::NoMicrophone, {}}));
}

TEST_F(SoundDeskTest, WithoutAnyDeviceThereIsNoMicrophoneAndNothingToListenTo) {
    SoundDesk::pactl({u"unload-module"_s, u"module-remap-source"_s});
    SoundDesk::pactl({u"unload-module"_s, u"module-null-sink"_s});
    Recorder recorder;
    EXPECT_EQ(recorder.startMic(), (capture::CaptureError{capture::CaptureError::Kind::NoMicrophone, {}}));
    if (!SoundDesk::isPipeWire()) { // which makes loudspeakers up where there are none
        EXPECT_EQ(recorder.startSystem(), copy::DesktopCopy::current().noMonitor);
    }
}

TEST_F(SoundDeskTest, MicrophoneIsNeverTakenForAMonitor) {
    PulseLoop loop;
    const auto connection = PulseConnection::open(loop, Deadline(soon));
    ASSERT_TRUE(connection.has_value());
    PulseMonitor monitor(**connection, {.index = 0, .name = "speakers", .monitor = "mic1"}, {}, [](const auto&) {});
    EXPECT_EQ(
        monitor.open(std::nullopt, [](const QString&) {}, Deadline(soon)), copy::DesktopCopy::current().noMonitor);
}

TEST_F(SoundDeskTest, OwnPlaybackStaysOutOfTheSystemTrackAndThatOfOthersStaysIn) {
    const ClickPlayer others("speakers", Who::OtherProgram);
    Recorder recorder;
    ASSERT_EQ(recorder.startSystem(), std::nullopt);
    waitForSystemBlocks(recorder);
    listenFor(1);
    const double ownBegin = now();
    auto own = std::make_unique<ClickPlayer>("speakers", Who::ThisProgram, 0.35);
    const double bothPlay = now();
    listenFor(3);
    const double ownEnd = now();
    const auto ownClicks = own->clicks().moments;
    own.reset();
    listenFor(2);
    const double end = now() - 0.5;
    recorder.stop();
    const auto found = TrackListener::clicksIn(recorder.systemTrack());
    const double start = recorder.startSeconds();
    expectInPlace(TrackListener::compare(found, others.clicks(), start, start + 0.7, ownBegin), "others before");
    expectInPlace(TrackListener::compare(found, others.clicks(), start, bothPlay, ownEnd - 0.2), "others beside ours");
    expectInPlace(TrackListener::compare(found, others.clicks(), start, ownEnd + 0.5, end), "others after");
    const auto theirClicks = others.clicks().moments;
    const auto isTheirs = [&](double click) {
        return std::ranges::any_of(theirClicks,
                                   [&](double their) { return std::abs(their - start - click) < 2 * tolerance(); });
    };
    EXPECT_GT(ownClicks.size(), 5u);
    for (const double click : found) {
        EXPECT_TRUE(isTheirs(click)) << "a click of ours at " << click << " s";
    }
}

TEST_F(SoundDeskTest, SuspendedMicrophoneGoesOnAtItsPlace) {
    if (SoundDesk::isPipeWire()) {
        GTEST_SKIP() << "this server does not suspend on demand";
    }
    const ClickPlayer room("room");
    Recorder recorder;
    ASSERT_EQ(recorder.startMic(), std::nullopt);
    waitForMicBlocks(recorder);
    SoundDesk::pactl({u"suspend-source"_s, u"mic1"_s, u"1"_s});
    listenFor(1.5);
    SoundDesk::pactl({u"suspend-source"_s, u"mic1"_s, u"0"_s});
    waitForMicBlocks(recorder);
    const double back = now();
    listenFor(2.5);
    recorder.stop();
    expectInPlace(heard(recorder.micTrack(), recorder, room.clicks(), back, back + 2), "after");
    EXPECT_TRUE(recorder.reports().empty());
}

/// How often the threads of this process have been woken, but for the one that asks.
std::uint64_t wakeUps() {
    std::uint64_t sum = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (task.path().filename() == std::to_string(::gettid())) {
            continue;
        }
        std::ifstream status(task.path() / "status");
        for (std::string word; status >> word;) {
            if (word == "voluntary_ctxt_switches:") {
                std::uint64_t count = 0;
                status >> count;
                sum += count;
            }
        }
    }
    return sum;
}

TEST_F(SoundDeskTest, NoThreadWakesUpWhenNothingIsOpen) {
    Recorder recorder;
    ASSERT_EQ(recorder.start(), std::nullopt);
    waitForMicBlocks(recorder);
    recorder.stop();
    std::uint64_t before = 0;
    EXPECT_TRUE(comesTrue([&] { // what ends takes a moment to end
        before = wakeUps();
        listenFor(2);
        return wakeUps() == before;
    }));
}

} // namespace
} // namespace platform::linux_desktop
