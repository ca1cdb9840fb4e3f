#include "capture/ScreenShooter.h"

#include "capture/ShotSize.h"
#include "copy/Strings.h"
#include "fakes/FakeScreenSource.h"
#include "fakes/ManualScheduler.h"

#include <QColor>
#include <QDir>
#include <QImageReader>
#include <QPainter>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace capture;
using namespace Qt::StringLiterals;
using Force = ScreenShooter::Force;

namespace {

const Display left{.id = 11, .frame = {.width = 1920, .height = 1080}, .pixelWidth = 1920, .pixelHeight = 1080};
const Display right{
    .id = 22, .frame = {.x = 1920, .width = 2560, .height = 1440}, .pixelWidth = 2560, .pixelHeight = 1440};

PickerWindow callOn(const Display& display) {
    return {.bundleID = u"us.zoom.xos"_s,
            .title = u"Zoom Meeting"_s,
            .frame = {.x = display.frame.x + 10, .y = 10, .width = 800, .height = 600}};
}

QImage painted(int gray) {
    QImage image(64, 40, QImage::Format_RGB32);
    image.fill(QColor(gray, gray, gray));
    return image;
}

/// Black, with so many of the thumbnail's 2560 pixels white.
QImage withWhitePixels(int count) {
    QImage image = painted(0);
    for (int index = 0; index < count; ++index) {
        image.setPixelColor(index % 64, index / 64, Qt::white);
    }
    return image;
}

class ScreenShooterTest : public testing::Test {
protected:
    QTemporaryDir folder;
    fakes::ManualDispatch dispatch;
    fakes::FakeScreenSource source;
    double startHost = dispatch.clock.now();
    std::shared_ptr<ScreenShooter> shooter;
    QStringList errors;

    void SetUp() override {
        source.nextContent = ScreenContent{.displays = {left, right}, .windows = {}, .mainDisplay = left.id};
        source.nextPicture = painted(0);
        make(left);
    }

    void make(const Display& display) {
        shooter = std::make_shared<ScreenShooter>(display, folder.path().toStdString(), startHost, source,
                                                  dispatch.clock, dispatch);
        shooter->onError = [this](const QString& text) { errors += text; };
    }

    /// One attempt, carried through to its end.
    void shot(Force force = Force::No) {
        shooter->capture(force);
        dispatch.runDue();
    }

    void showCallOn(const Display& display) { source.nextContent->windows = {callOn(display)}; }

    [[nodiscard]] QStringList files() const {
        return QDir(folder.path())
            .entryList(QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }
};

} // namespace

TEST_F(ScreenShooterTest, NothingStartsByItself) {
    dispatch.advance(3600);
    EXPECT_EQ(source.contentRequests, 0);
    EXPECT_EQ(shooter->stop(), 0);
}

TEST_F(ScreenShooterTest, WorksOnAQueueOfItsOwnAtTheLeastUrgency) {
    const auto expected = std::pair(std::string("com.orvane.tarvex.shots"), base::Priority::Utility);
    EXPECT_EQ(dispatch.madeQueues, std::vector{expected});
}

TEST_F(ScreenShooterTest, TheFirstShotIsKeptEvenOfABlankScreen) {
    shot(Force::Yes);
    EXPECT_EQ(files(), QStringList{u"shot_0000s.jpg"_s});
    EXPECT_EQ(shooter->stop(), 1);
}

TEST_F(ScreenShooterTest, WithoutAReferenceAnUnforcedShotIsKeptAsWell) {
    shot(Force::No);
    EXPECT_EQ(files(), QStringList{u"shot_0000s.jpg"_s});
}

TEST_F(ScreenShooterTest, AnUnchangedScreenLeavesNothing) {
    shot(Force::Yes);
    dispatch.advance(30);
    shot();
    EXPECT_EQ(files(), QStringList{u"shot_0000s.jpg"_s});
    EXPECT_EQ(shooter->stop(), 1);
}

TEST_F(ScreenShooterTest, AChangedScreenLeavesAShotNamedByItsSecond) {
    shot(Force::Yes);
    dispatch.advance(30);
    source.nextPicture = withWhitePixels(77);
    shot();
    EXPECT_EQ(files(), (QStringList{u"shot_0000s.jpg"_s, u"shot_0030s.jpg"_s}));
    EXPECT_EQ(shooter->stop(), 2);
}

TEST_F(ScreenShooterTest, SmallChangesAddUpUntilTheyMakeAShot) {
    shot(Force::Yes);
    for (const int pixels : {40, 76}) {
        dispatch.advance(30);
        source.nextPicture = withWhitePixels(pixels);
        shot();
        EXPECT_EQ(files().size(), 1) << pixels;
    }
    dispatch.advance(30);
    source.nextPicture = withWhitePixels(77);
    shot();
    EXPECT_EQ(files(), (QStringList{u"shot_0000s.jpg"_s, u"shot_0090s.jpg"_s}));
}

TEST_F(ScreenShooterTest, AManualShotOfAnUnchangedScreenIsKeptAndMovesTheReference) {
    shot(Force::Yes);
    source.nextPicture = withWhitePixels(76);
    dispatch.advance(5);
    shot(Force::Yes);
    EXPECT_EQ(files(), (QStringList{u"shot_0000s.jpg"_s, u"shot_0005s.jpg"_s}));
    source.nextPicture = withWhitePixels(152); // 152 from the first shot, 76 from the manual one
    dispatch.advance(5);
    shot();
    EXPECT_EQ(files().size(), 2);
    source.nextPicture = withWhitePixels(153);
    shot();
    EXPECT_EQ(files().size(), 3);
}

TEST_F(ScreenShooterTest, TwoForcedShotsInOneSecondGetDifferentNames) {
    dispatch.advance(7.2);
    shot(Force::Yes);
    dispatch.advance(0.5);
    shot(Force::Yes);
    EXPECT_EQ(files(), (QStringList{u"shot_0007s.jpg"_s, u"shot_0007s_2.jpg"_s}));
    shot(Force::Yes);
    EXPECT_EQ(files().size(), 3);
    EXPECT_TRUE(files().contains(u"shot_0007s_3.jpg"_s));
    EXPECT_EQ(shooter->stop(), 3);
}

TEST_F(ScreenShooterTest, TheSecondIsTakenAtTheRequestAndCutOff) {
    source.holdContent = true;
    source.holdPictures = true;
    dispatch.advance(29.999);
    shot();
    dispatch.advance(8);
    source.answerContent();
    dispatch.advance(8);
    source.answerPicture();
    dispatch.advance(8);
    EXPECT_EQ(files(), QStringList{u"shot_0029s.jpg"_s});
}

TEST_F(ScreenShooterTest, AtANegativeElapsedTimeTheNameCarriesZero) {
    startHost += 100;
    make(left);
    shot();
    EXPECT_EQ(files(), QStringList{u"shot_0000s.jpg"_s});
}

TEST_F(ScreenShooterTest, PastFourDigitsTheNumberGrows) {
    dispatch.advance(12345);
    shot();
    EXPECT_EQ(files(), QStringList{u"shot_12345s.jpg"_s});
}

TEST_F(ScreenShooterTest, ACallOnAnotherDisplayIsFollowedWithAShotThatIsAlwaysKept) {
    shot(Force::Yes);
    showCallOn(right);
    dispatch.advance(30);
    testing::internal::CaptureStdout();
    shot(); // the very same picture
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "screenshots: now on display 22 (2560 x 1440)\n");
    EXPECT_EQ(files(), (QStringList{u"shot_0000s.jpg"_s, u"shot_0030s.jpg"_s}));
    EXPECT_EQ(source.pictureRequests.back().display, right);

    dispatch.advance(30);
    testing::internal::CaptureStdout();
    shot();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "") << "told once";
    EXPECT_EQ(files().size(), 2);
}

TEST_F(ScreenShooterTest, AnotherDisplayEmptiesTheReferenceAtOnce) {
    shot(Force::Yes);
    showCallOn(right);
    source.nextPicture = std::unexpected(u"no"_s);
    shot();
    EXPECT_EQ(files().size(), 1);
    source.nextPicture = painted(0); // equal to the last one kept, which was of the other display
    dispatch.advance(30);
    shot();
    EXPECT_EQ(files(), (QStringList{u"shot_0000s.jpg"_s, u"shot_0030s.jpg"_s}));
}

TEST_F(ScreenShooterTest, WhenTheCallEndsTheMainDisplayIsShotAgain) {
    showCallOn(right);
    shot(Force::Yes);
    source.nextContent->windows.clear();
    shot(Force::Yes);
    EXPECT_EQ(source.pictureRequests.front().display, right);
    EXPECT_EQ(source.pictureRequests.back().display, left);
}

TEST_F(ScreenShooterTest, WithoutContentTheCurrentDisplayIsShotAndNothingTold) {
    source.nextContent = std::unexpected(u"the server is gone"_s);
    make(right);
    shot();
    EXPECT_EQ(source.pictureRequests.back().display, right);
    EXPECT_EQ(files().size(), 1);
    EXPECT_TRUE(errors.isEmpty());
}

TEST_F(ScreenShooterTest, APickedDisplayThatIsNotListedLeavesTheCurrentOne) {
    source.nextContent->mainDisplay = 33;
    make(right);
    shot();
    EXPECT_EQ(source.pictureRequests.back().display, right);
}

TEST_F(ScreenShooterTest, WithNeitherTheOneNorTheOtherListedTheCurrentDisplayIsKept) {
    source.nextContent = ScreenContent{.displays = {}, .windows = {}, .mainDisplay = 33};
    make(right);
    shot();
    EXPECT_EQ(source.pictureRequests.back().display, right);
}

TEST_F(ScreenShooterTest, AChangedModeOfTheSameDisplayIsTakenOverWithoutAWord) {
    shot(Force::Yes);
    source.nextContent->displays[0].pixelWidth = 1024;
    source.nextContent->displays[0].pixelHeight = 768;
    dispatch.advance(30);
    testing::internal::CaptureStdout();
    shot();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(source.pictureRequests.back().width, 1024);
    EXPECT_EQ(source.pictureRequests.back().height, 768);
    EXPECT_EQ(files().size(), 1) << "the reference stays";
}

TEST_F(ScreenShooterTest, ThePictureIsAskedForInTheModesPixelsBoundedByTheLongestEdge) {
    shot(Force::Yes);
    EXPECT_EQ(source.pictureRequests.back().width, 1920);
    EXPECT_EQ(source.pictureRequests.back().height, 1080);
    showCallOn(right);
    shot();
    EXPECT_EQ(source.pictureRequests.back().width, ShotSize::maxEdge);
    EXPECT_EQ(source.pictureRequests.back().height, 1152);
}

TEST_F(ScreenShooterTest, WithoutAModeTwiceTheDisplaysSizeIsAskedFor) {
    Display modeless{.id = 11, .frame = {.width = 800, .height = 600}, .pixelWidth = 0, .pixelHeight = 777};
    source.nextContent->displays = {modeless};
    make(modeless);
    shot();
    EXPECT_EQ(source.pictureRequests.back().width, 1600);
    EXPECT_EQ(source.pictureRequests.back().height, 1200);
    source.nextContent->displays[0].pixelWidth = 1;
    shot();
    EXPECT_EQ(source.pictureRequests.back().width, 1);
    EXPECT_EQ(source.pictureRequests.back().height, 777);
}

TEST_F(ScreenShooterTest, APictureThatFailsIsToldOnTheMainThreadAndTheReferenceStays) {
    shot(Force::Yes);
    source.nextPicture = std::unexpected(u"monitor gone"_s);
    bool onMain = false;
    shooter->onError = [&](const QString& text) {
        onMain = dispatch.main().isCurrent();
        errors += text;
    };
    shot();
    EXPECT_TRUE(onMain);
    EXPECT_EQ(errors, QStringList{copy::Strings::shotFailed(u"monitor gone"_s)});
    source.nextPicture = painted(0);
    shot();
    EXPECT_EQ(files().size(), 1) << "still equal to the last one kept";
}

TEST_F(ScreenShooterTest, NoPictureAndNoErrorIsToldWithoutAReason) {
    source.nextPicture = QImage();
    shot();
    EXPECT_EQ(errors, QStringList{u"截圖失敗："_s});
    EXPECT_EQ(shooter->stop(), 0);
}

TEST_F(ScreenShooterTest, AnErrorWithoutAListenerIsNoTrouble) {
    shooter->onError = nullptr;
    source.nextPicture = std::unexpected(u"no"_s);
    shot();
    EXPECT_TRUE(files().isEmpty());
}

TEST_F(ScreenShooterTest, AfterStopNoPictureIsAskedFor) {
    source.holdContent = true;
    shot();
    EXPECT_EQ(shooter->stop(), 0);
    source.answerContent();
    dispatch.runDue();
    EXPECT_TRUE(source.pictureRequests.empty());
}

TEST_F(ScreenShooterTest, APictureThatComesInAfterStopIsDropped) {
    source.holdPictures = true;
    shot(Force::Yes);
    EXPECT_EQ(shooter->stop(), 0);
    source.answerPicture();
    dispatch.runDue();
    EXPECT_TRUE(files().isEmpty());
    EXPECT_EQ(shooter->stop(), 0);
}

TEST_F(ScreenShooterTest, APictureThatCameInBeforeStopIsStillWritten) {
    source.holdPictures = true;
    shot(Force::Yes);
    source.answerPicture();
    EXPECT_EQ(shooter->stop(), 1);
    EXPECT_EQ(files().size(), 1);
}

TEST_F(ScreenShooterTest, OverlappingRequestsAreConsideredInTheirOrderOfArrival) {
    source.holdPictures = true;
    shot(Force::Yes);
    dispatch.advance(30);
    shot(Force::No);
    ASSERT_EQ(source.waitingPictures.size(), 2U);
    std::swap(source.waitingPictures[0], source.waitingPictures[1]);
    source.answerPicture(); // the later request, unforced: there is no reference yet
    source.answerPicture(); // the earlier one, forced
    dispatch.runDue();
    EXPECT_EQ(files(), (QStringList{u"shot_0000s.jpg"_s, u"shot_0030s.jpg"_s}));
    EXPECT_EQ(shooter->stop(), 2);
}

TEST_F(ScreenShooterTest, AShooterThatIsGoneLeavesItsRepliesHarmless) {
    source.holdContent = true;
    shot();
    source.holdContent = false;
    source.holdPictures = true;
    shot();
    shooter.reset();
    source.answerContent();
    source.nextPicture = std::unexpected(u"no"_s);
    source.answerPicture();
    dispatch.runDue();
    EXPECT_TRUE(files().isEmpty());
    EXPECT_TRUE(errors.isEmpty());
}

TEST_F(ScreenShooterTest, AFileThatCannotBeWrittenIsSilentAndNotCountedButMovesTheReference) {
    ASSERT_TRUE(QDir(folder.path()).removeRecursively());
    shot(Force::Yes);
    EXPECT_TRUE(errors.isEmpty());
    ASSERT_TRUE(QDir().mkpath(folder.path()));
    shot();
    EXPECT_TRUE(files().isEmpty()) << "nothing has changed since the picture that got lost";
    EXPECT_EQ(shooter->stop(), 0);
}

TEST_F(ScreenShooterTest, NothingThatStandsInTheFolderIsEverReplaced) {
    ASSERT_TRUE(QDir(folder.path()).mkdir(u"shot_0000s.jpg"_s));
    ASSERT_TRUE(QFile::link(u"nowhere"_s, folder.filePath(u"shot_0000s_2.jpg"_s)));
    shot(Force::Yes);
    EXPECT_EQ(files().size(), 3);
    EXPECT_TRUE(QFileInfo(folder.filePath(u"shot_0000s.jpg"_s)).isDir());
    EXPECT_TRUE(QFileInfo(folder.filePath(u"shot_0000s_2.jpg"_s)).isSymLink());
    EXPECT_TRUE(QFileInfo(folder.filePath(u"shot_0000s_3.jpg"_s)).isFile());
}

TEST_F(ScreenShooterTest, AShotIsAJpegForItsUserAlone) {
    source.nextPicture = painted(200);
    shot();
    const QString path = folder.filePath(u"shot_0000s.jpg"_s);
    QImageReader reader(path);
    reader.setDecideFormatFromContent(true);
    EXPECT_EQ(reader.format(), "jpeg");
    const QImage image = reader.read();
    EXPECT_EQ(image.size(), QSize(64, 40));
    EXPECT_NEAR(qGray(image.pixel(30, 20)), 200, 3);
    struct stat info{};
    ASSERT_EQ(::stat(path.toUtf8().constData(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777U, 0600U);
}

TEST_F(ScreenShooterTest, TheJpegHasTheToldQuality) {
    QImage noisy(256, 160, QImage::Format_RGB32);
    for (int row = 0; row < noisy.height(); ++row) {
        for (int column = 0; column < noisy.width(); ++column) {
            noisy.setPixel(column, row, qRgb(column * 37 % 256, row * 91 % 256, (column * row) % 256));
        }
    }
    source.nextPicture = noisy;
    shot();
    const QString expected = folder.filePath(u"expected"_s);
    ASSERT_TRUE(noisy.save(expected, "jpeg", 70));
    EXPECT_EQ(QFileInfo(folder.filePath(u"shot_0000s.jpg"_s)).size(), QFileInfo(expected).size());
    EXPECT_EQ(ScreenShooter::jpegQuality, 0.7);
    EXPECT_EQ(ScreenShooter::interval, 30.0);
}
