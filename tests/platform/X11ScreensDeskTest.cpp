#include "XServer.h"
#include "base/Dispatch.h"
#include "capture/ScreenShooter.h"
#include "copy/DesktopCopy.h"
#include "fakes/ManualScheduler.h"
#include "platform/linux/X11Greeting.h"
#include "platform/linux/X11Screens.h"

#include <QDir>
#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <thread>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using capture::Display;
using capture::PickerWindow;
using capture::Rect;
using capture::ScreenContent;
using platform::linux_desktop::X11Greeting;
using platform::linux_desktop::X11Screens;
using testing::ElementsAre;
using testing::Field;

namespace {

constexpr auto patience = 60s; // for a loaded machine; nothing waits as long as all is well

const QRect wholeLeft(0, 0, 640, 600);
const QRect wholeRight(640, 0, 640, 600);

/// The answers of X11Screens, waited for.
class Asking {
public:
    explicit Asking(double replyLimit = 30) : m_dispatch(m_main), screens(std::in_place, m_dispatch, replyLimit) {}

    std::expected<ScreenContent, QString> content() {
        std::promise<std::expected<ScreenContent, QString>> promise;
        screens->content([&promise](auto reply) { promise.set_value(std::move(reply)); });
        return answer(promise);
    }

    std::expected<QImage, QString> picture(const Display& display, int width = 0, int height = 0) {
        std::promise<std::expected<QImage, QString>> promise;
        screens->picture(display, width > 0 ? width : display.pixelWidth, height > 0 ? height : display.pixelHeight,
                         [&promise](auto reply) { promise.set_value(std::move(reply)); });
        return answer(promise);
    }

private:
    template<typename Value>
    Value answer(std::promise<Value>& promise) {
        auto future = promise.get_future();
        if (future.wait_for(patience) != std::future_status::ready) {
            ADD_FAILURE() << "no reply";
            screens.reset(); // the promise must outlive every call
            return std::unexpected(QString());
        }
        return future.get();
    }

    fakes::ManualScheduler m_main;
    base::ThreadDispatch m_dispatch;

public:
    std::optional<X11Screens> screens;
};

/// A server with two monitors side by side.
class X11ScreensTest : public testing::Test {
protected:
    XServer server;
    XPainter painter;
    xcb_atom_t left = painter.monitor("LEFT", wholeLeft, XPainter::Output::Real);
    xcb_atom_t right = painter.monitor("RIGHT", wholeRight, XPainter::Output::None);

    [[nodiscard]] Display display(xcb_atom_t monitor, const QRect& place) const {
        return {.id = monitor,
                .frame = {.x = static_cast<double>(place.x()),
                          .y = static_cast<double>(place.y()),
                          .width = static_cast<double>(place.width()),
                          .height = static_cast<double>(place.height())},
                .pixelWidth = place.width(),
                .pixelHeight = place.height()};
    }

    [[nodiscard]] Display leftDisplay() const { return display(left, wholeLeft); }

    [[nodiscard]] Display rightDisplay() const { return display(right, wholeRight); }
};

QString text(copy::FixedText copy::DesktopCopy::* which) {
    return copy::DesktopCopy::current().*which;
}

auto titled(const QString& title) {
    return Field(&PickerWindow::title, title);
}

} // namespace

TEST_F(X11ScreensTest, ListsTheMonitorsWithTheirPlacesAndPixels) {
    const auto content = Asking().content();
    ASSERT_TRUE(content) << content.error().toStdString();
    EXPECT_THAT(content->displays, testing::UnorderedElementsAre(leftDisplay(), rightDisplay()));
}

TEST_F(X11ScreensTest, ThePrimaryMonitorIsTheMainOne) {
    const auto makePrimary = [&](const char* name, const QRect& place, XPainter::Output output) {
        painter.unplug(name);
        painter.monitor(name, place, output, true);
    };
    makePrimary("RIGHT", wholeRight, XPainter::Output::None);
    EXPECT_EQ(Asking().content()->mainDisplay, right);
    makePrimary("LEFT", wholeLeft, XPainter::Output::Real); // the last one told counts
    EXPECT_EQ(Asking().content()->mainDisplay, left);
}

TEST_F(X11ScreensTest, WithoutAPrimaryMonitorTheFirstIsTheMainOne) {
    const auto content = Asking().content();
    EXPECT_EQ(content->mainDisplay, content->displays.front().id);
}

TEST_F(X11ScreensTest, AMonitorKeepsItsIdWhenItIsPluggedInAgain) {
    Asking asking;
    painter.unplug("RIGHT");
    EXPECT_THAT(asking.content()->displays, ElementsAre(leftDisplay()));
    painter.monitor("RIGHT", wholeRight, XPainter::Output::None);
    EXPECT_THAT(asking.content()->displays, testing::UnorderedElementsAre(leftDisplay(), rightDisplay()));
}

TEST_F(X11ScreensTest, APictureShowsThePixelsOfItsMonitorAlone) {
    const auto onLeft = painter.window(wholeLeft, {.color = QColor(10, 20, 30)});
    const auto onRight = painter.window(wholeRight, {.color = QColor(200, 100, 50)});
    painter.paint(onRight, QRect(0, 0, 1, 1), Qt::red);
    painter.paint(onRight, QRect(639, 599, 1, 1), Qt::blue);
    painter.paint(onLeft, QRect(320, 300, 10, 10), Qt::green);
    Asking asking;
    const auto picture = asking.picture(rightDisplay());
    ASSERT_TRUE(picture) << picture.error().toStdString();
    EXPECT_EQ(picture->size(), QSize(640, 600));
    EXPECT_EQ(picture->pixelColor(0, 0), Qt::red);
    EXPECT_EQ(picture->pixelColor(639, 599), Qt::blue);
    EXPECT_EQ(picture->pixelColor(1, 0), QColor(200, 100, 50));
    const auto other = asking.picture(leftDisplay());
    EXPECT_EQ(other->pixelColor(0, 0), QColor(10, 20, 30));
    EXPECT_EQ(other->pixelColor(325, 305), Qt::green);
}

TEST_F(X11ScreensTest, APictureOutlivesItsSource) {
    painter.window(wholeLeft, {.color = Qt::cyan});
    std::optional<Asking> asking(std::in_place);
    const auto picture = asking->picture(leftDisplay());
    asking.reset();
    EXPECT_EQ(picture->pixelColor(639, 599), Qt::cyan);
}

TEST_F(X11ScreensTest, APictureIsScaledToTheSizeAskedFor) {
    const auto window = painter.window(wholeLeft, {.color = Qt::white});
    painter.paint(window, QRect(0, 0, 320, 600), Qt::black);
    const auto picture = Asking().picture(leftDisplay(), 64, 20);
    EXPECT_EQ(picture->size(), QSize(64, 20));
    EXPECT_EQ(picture->pixelColor(20, 10), Qt::black);
    EXPECT_EQ(picture->pixelColor(44, 10), Qt::white);
}

TEST_F(X11ScreensTest, TheMonitorIsPhotographedWhereItIsNow) {
    painter.window(wholeRight, {.color = Qt::red});
    painter.unplug("LEFT");
    painter.monitor("LEFT", wholeRight, XPainter::Output::Real);
    EXPECT_EQ(Asking().picture(leftDisplay())->pixelColor(5, 5), Qt::red);
}

TEST_F(X11ScreensTest, AnUnpluggedMonitorIsAnErrorInWords) {
    Asking asking;
    ASSERT_TRUE(asking.picture(rightDisplay()));
    painter.unplug("RIGHT");
    const auto picture = asking.picture(rightDisplay());
    ASSERT_FALSE(picture);
    EXPECT_EQ(picture.error(), text(&copy::DesktopCopy::displayGone));
    EXPECT_TRUE(asking.picture(leftDisplay())) << "the others go on";
}

TEST_F(X11ScreensTest, AMonitorBeyondTheScreenIsAnErrorInWords) {
    const auto beyond = painter.monitor("BEYOND", QRect(5000, 0, 640, 600), XPainter::Output::None);
    Asking asking;
    EXPECT_EQ(asking.picture(display(beyond, QRect(5000, 0, 640, 600))).error(), text(&copy::DesktopCopy::displayGone));
    EXPECT_TRUE(asking.picture(leftDisplay()));
}

TEST_F(X11ScreensTest, AServerThatDiesIsAnErrorInWordsAndItsSuccessorIsFound) {
    Asking asking;
    ASSERT_TRUE(asking.content());
    server.kill();
    EXPECT_EQ(asking.content().error(), text(&copy::DesktopCopy::noDisplayServer));
    EXPECT_EQ(asking.picture(leftDisplay()).error(), text(&copy::DesktopCopy::noDisplayServer));
    server.restart();
    const auto content = asking.content();
    ASSERT_TRUE(content) << content.error().toStdString();
    EXPECT_EQ(content->displays.size(), 1U);
    EXPECT_TRUE(asking.picture(content->displays.front()));
}

TEST_F(X11ScreensTest, AServerThatFallsSilentIsAnErrorAfterTheLimitAndIsFoundAgain) {
    Asking asking(0.3);
    ASSERT_TRUE(asking.content());
    server.pause();
    EXPECT_EQ(asking.picture(leftDisplay()).error(), text(&copy::DesktopCopy::noDisplayServer));
    server.resume();
    EXPECT_TRUE(asking.content());
}

TEST_F(X11ScreensTest, AServerThatIsSilentWhenItIsConnectedToIsAnErrorEachTimeAndIsFoundAgain) {
    Asking asking(0.3);
    server.pause();
    EXPECT_EQ(asking.content().error(), text(&copy::DesktopCopy::noDisplayServer));
    EXPECT_EQ(asking.picture(leftDisplay()).error(), text(&copy::DesktopCopy::noDisplayServer));
    server.resume();
    Asking patient(30);
    ASSERT_TRUE(patient.content()) << "it is awake";
    EXPECT_TRUE(asking.content());
}

TEST_F(X11ScreensTest, AServerThatIsSilentWhenItIsConnectedToDoesNotHoldUpTheEnd) {
    std::optional<Asking> asking(std::in_place, 0.3);
    server.pause();
    EXPECT_FALSE(asking->content());
    asking.reset(); // comes back, or the test is ended by its time limit
    server.resume();
}

TEST_F(X11ScreensTest, WaitingForASilentServerCanBeGivenUp) {
    server.pause();
    X11Greeting greeting;
    const std::jthread other([&] { greeting.cancel(); });
    EXPECT_FALSE(greeting.wait(1e6));
    server.resume();
    EXPECT_FALSE(greeting.wait(1e6)) << "for good";
}

TEST_F(X11ScreensTest, ASilentServerDoesNotHoldUpTheEnd) {
    std::optional<Asking> asking(std::in_place, 1e6);
    ASSERT_TRUE(asking->content());
    server.pause();
    asking->screens->content([](const auto&) {});
    asking.reset(); // comes back, or the test is ended by its time limit
    server.resume();
}

TEST_F(X11ScreensTest, WindowsComeFrontmostFirstWithClassTitleAndPlace) {
    const auto call = painter.window(QRect(30, 40, 500, 400), {.title = u"Zoom 會議"_s, .application = "zoom"});
    const auto chat = painter.window(QRect(700, 50, 310, 320), {.title = u"general"_s, .application = "Slack"});
    painter.list({call, chat});
    EXPECT_THAT(Asking().content()->windows,
                ElementsAre(PickerWindow{.bundleID = u"Slack"_s,
                                         .title = u"general"_s,
                                         .frame = {.x = 700, .y = 50, .width = 310, .height = 320},
                                         .layer = 0},
                            PickerWindow{.bundleID = u"zoom"_s,
                                         .title = u"Zoom 會議"_s,
                                         .frame = {.x = 30, .y = 40, .width = 500, .height = 400},
                                         .layer = 0}));
}

TEST_F(X11ScreensTest, AnOldWindowIsKnownByItsOldTitle) {
    painter.list({painter.window(wholeLeft, {.oldTitle = "Caf\xE9"}),
                  painter.window(wholeLeft, {.title = u"new"_s, .oldTitle = "old"}), painter.window(wholeLeft, {})});
    EXPECT_THAT(Asking().content()->windows, ElementsAre(titled(u""_s), titled(u"new"_s), titled(u"Café"_s)));
}

TEST_F(X11ScreensTest, OnlyOrdinaryWindowsLieInTheOrdinaryLayer) {
    const auto shown = [&](const QString& title, std::vector<QByteArray> type, std::vector<QByteArray> state) {
        return painter.window(wholeLeft, {.title = title, .type = std::move(type), .state = std::move(state)});
    };
    painter.list({shown(u"panel"_s, {"_NET_WM_WINDOW_TYPE_DOCK"}, {}),
                  shown(u"pinned"_s, {"_NET_WM_WINDOW_TYPE_NORMAL"}, {"_NET_WM_STATE_ABOVE"}),
                  shown(u"full"_s, {}, {"_NET_WM_STATE_FULLSCREEN"}),
                  shown(u"dialog"_s, {"_NET_WM_WINDOW_TYPE_DIALOG"}, {}),
                  shown(u"normal"_s, {"_NET_WM_WINDOW_TYPE_NORMAL"}, {}), shown(u"plain"_s, {}, {})});
    const auto layered = [](const QString& title, int layer) {
        return testing::AllOf(titled(title), Field(&PickerWindow::layer, layer));
    };
    EXPECT_THAT(Asking().content()->windows,
                ElementsAre(layered(u"plain"_s, 0), layered(u"normal"_s, 0), layered(u"dialog"_s, 0),
                            layered(u"full"_s, 0), layered(u"pinned"_s, 1), layered(u"panel"_s, 1)));
}

TEST_F(X11ScreensTest, WindowsThatAreNotShownAreLeftOut) {
    const auto unmapped = painter.window(wholeLeft, {.title = u"unmapped"_s});
    painter.hide(unmapped);
    const auto minimised = painter.window(wholeLeft, {.title = u"minimised"_s, .state = {"_NET_WM_STATE_HIDDEN"}});
    const auto elsewhere = painter.window(wholeLeft, {.title = u"elsewhere"_s, .desktop = 1});
    const auto here = painter.window(wholeLeft, {.title = u"here"_s, .desktop = 2});
    const auto everywhere = painter.window(wholeLeft, {.title = u"everywhere"_s, .desktop = 0xFFFFFFFF});
    painter.setCurrentDesktop(2);
    painter.list({unmapped, minimised, elsewhere, here, everywhere});
    EXPECT_THAT(Asking().content()->windows, ElementsAre(titled(u"everywhere"_s), titled(u"here"_s)));
}

TEST_F(X11ScreensTest, AWindowThatVanishesIsLeftOut) {
    const auto gone = painter.window(wholeLeft, {.title = u"gone"_s});
    const auto there = painter.window(wholeLeft, {.title = u"there"_s});
    painter.destroy(gone);
    painter.list({gone, there, 0xDEAD});
    EXPECT_THAT(Asking().content()->windows, ElementsAre(titled(u"there"_s)));
}

TEST_F(X11ScreensTest, WithoutAStackingOrderThePlainListServes) {
    painter.list({painter.window(wholeLeft, {.title = u"only"_s})}, "_NET_CLIENT_LIST");
    EXPECT_THAT(Asking().content()->windows, ElementsAre(titled(u"only"_s)));
}

TEST_F(X11ScreensTest, WithoutAWindowManagerThereAreScreensAndNoWindows) {
    painter.window(wholeLeft, {.title = u"unlisted"_s});
    const auto content = Asking().content();
    EXPECT_EQ(content->displays.size(), 2U);
    EXPECT_TRUE(content->windows.empty());
}

TEST_F(X11ScreensTest, AnEndlessListOfWindowsIsCut) {
    painter.list(std::vector<xcb_window_t>(100'000, painter.window(wholeLeft, {.title = u"many"_s})));
    EXPECT_EQ(Asking().content()->windows.size(), 1000U);
}

TEST_F(X11ScreensTest, ACallThatMovesToTheOtherMonitorIsFollowedByTheShots) {
    painter.window(wholeLeft, {.color = Qt::darkGray});
    painter.window(wholeRight, {.color = Qt::yellow});
    const auto call = painter.window(QRect(50, 50, 400, 400), {.title = u"Zoom Meeting"_s, .application = "zoom"});
    painter.list({call});
    QTemporaryDir folder;
    fakes::ManualScheduler main;
    base::ThreadDispatch dispatch(main);
    X11Screens screens(dispatch, 30);
    const auto shooter = std::make_shared<capture::ScreenShooter>(leftDisplay(), folder.path().toStdString(),
                                                                  main.clock().now(), screens, main.clock(), dispatch);
    const auto shots = [&] { return QDir(folder.path()).entryList(QDir::Files, QDir::Name); };
    const auto shoot = [&](capture::ScreenShooter::Force force) {
        shooter->capture(force);
        Asking().content(); // the same server, so that a shot in between is under way
    };
    const auto waitForShots = [&](qsizetype count) {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (shots().size() < count && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        return shots().size();
    };
    shoot(capture::ScreenShooter::Force::Yes);
    ASSERT_EQ(waitForShots(1), 1);
    painter.move(call, wholeRight.x() + 50, 50);
    main.clock().set(main.clock().now() + 30);
    testing::internal::CaptureStdout();
    shoot(capture::ScreenShooter::Force::No);
    ASSERT_EQ(waitForShots(2), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "screenshots: now on display " + std::to_string(right) + " (640 x 600)\n");
    EXPECT_EQ(shooter->stop(), 2);
    EXPECT_EQ(shots(), (QStringList{u"shot_0000s.jpg"_s, u"shot_0030s.jpg"_s}));
    EXPECT_NEAR(QImage(folder.filePath(u"shot_0000s.jpg"_s)).pixelColor(600, 550).blue(), 128, 4);
    EXPECT_NEAR(QImage(folder.filePath(u"shot_0030s.jpg"_s)).pixelColor(600, 550).blue(), 0, 4);
}

TEST(X11ScreensOnOtherServers, WithoutADisplayThereIsAnErrorInWords) {
    const QByteArray before = qgetenv("DISPLAY");
    qunsetenv("DISPLAY");
    EXPECT_EQ(Asking().content().error(), text(&copy::DesktopCopy::noDisplayServer));
    qputenv("DISPLAY", before);
}

TEST(X11ScreensOnOtherServers, WithoutSharedMemoryThePixelsAreTheSame) {
    const XServer server(u"1280x600x24"_s, {u"-extension"_s, u"MIT-SHM"_s});
    XPainter painter;
    painter.paint(painter.window(wholeLeft, {.color = Qt::magenta}), QRect(3, 4, 1, 1), Qt::black);
    Asking asking;
    const auto picture = asking.picture(asking.content()->displays.front());
    EXPECT_EQ(picture->pixelColor(3, 4), Qt::black);
    EXPECT_EQ(picture->pixelColor(4, 4), Qt::magenta);
}

TEST(X11ScreensOnOtherServers, WithoutMonitorsTheWholeScreenIsOne) {
    const XServer server(u"1280x600x24"_s, {u"-extension"_s, u"RANDR"_s});
    XPainter painter;
    painter.window(wholeRight, {.color = Qt::magenta});
    Asking asking;
    const auto content = asking.content();
    ASSERT_EQ(content->displays.size(), 1U);
    EXPECT_EQ(content->displays.front().frame, (Rect{.width = 1280, .height = 600}));
    EXPECT_EQ(content->mainDisplay, content->displays.front().id);
    EXPECT_EQ(asking.picture(content->displays.front())->pixelColor(700, 10), Qt::magenta);
}

TEST(X11ScreensOnOtherServers, SixteenBitsAPixelAreRead) {
    const XServer server(u"641x600x16"_s);
    XPainter painter;
    painter.paint(painter.window(wholeLeft, {.color = Qt::red}), QRect(0, 599, 640, 1), Qt::blue);
    Asking asking;
    const auto picture = asking.picture(asking.content()->displays.front());
    ASSERT_TRUE(picture) << picture.error().toStdString();
    EXPECT_EQ(picture->pixelColor(1, 1), Qt::red);
    EXPECT_EQ(picture->pixelColor(639, 599), Qt::blue);
}

TEST(X11ScreensOnOtherServers, APaletteIsAnErrorInWords) {
    const XServer server(u"640x600x8"_s);
    Asking asking;
    EXPECT_EQ(asking.picture(asking.content()->displays.front()).error(), text(&copy::DesktopCopy::pictureUnreadable));
}
