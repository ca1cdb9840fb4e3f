#include "PrivateBus.h"
#include "base/Handle.h"
#include "base/MainScheduler.h"
#include "copy/DesktopCopy.h"
#include "fakes/ManualScheduler.h"
#include "platform/linux/DesktopKeepAwake.h"
#include "platform/linux/DesktopNotifications.h"
#include "platform/linux/DesktopOpener.h"
#include "platform/linux/DesktopShutdownWatch.h"
#include "platform/linux/PortalScreens.h"
#include "platform/linux/QtScreens.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QScreen>
#include <QTemporaryDir>
#include <QUrl>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <future>
#include <optional>
#include <poll.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace platform::linux_desktop;

namespace {

QDBusMessage refusal(const QDBusMessage& call) {
    return call.createErrorReply(u"org.freedesktop.DBus.Error.AccessDenied"_s, u"no"_s);
}

QDBusMessage silence(const QDBusMessage& /*call*/) {
    return {};
}

class DesktopServices : public testing::Test {
protected:
    PrivateBus sessionBus{PrivateBus::Kind::Session};
    PrivateBus systemBus{PrivateBus::Kind::System};
    base::MainScheduler main;
    base::ThreadDispatch dispatch{main};
    std::optional<DesktopBus> session{std::in_place, DesktopBus::Kind::Session, dispatch, 30.0};
    std::optional<DesktopBus> system{std::in_place, DesktopBus::Kind::System, dispatch, 30.0};

    /// Returns when the calls made so far, and those that their replies made, have been answered.
    bool settled() {
        for (int round = 0; round < 4; ++round) {
            for (DesktopBus* bus : {&*system, &*session}) {
                auto done = std::make_shared<std::atomic<bool>>(false);
                bus->afterwards([done] { *done = true; });
                if (!eventually([&] { return done->load(); })) {
                    return false;
                }
            }
        }
        return true;
    }

    QDBusMessage reply(DesktopBus& bus, const QDBusMessage& call) {
        auto answer = std::make_shared<std::promise<QDBusMessage>>();
        auto future = answer->get_future();
        bus.call(call, [answer](const QDBusMessage& given) { answer->set_value(given); });
        EXPECT_TRUE(eventually([&] { return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return future.get();
    }
};

/// Copies of a message share their arguments: each call is made afresh.
QDBusMessage numberedPing(int number) {
    QDBusMessage call = QDBusMessage::createMethodCall(u"test.Service"_s, u"/test"_s, u"test.Interface"_s, u"Ping"_s);
    call << number;
    return call;
}

const QDBusMessage ping = numberedPing(0);

/// Gives out logind's inhibitors and knows which are still held.
class MockLogind {
public:
    explicit MockLogind(const PrivateBus& bus)
        : service(bus, u"org.freedesktop.login1"_s, [this](const QDBusMessage& call) { return inhibit(call); }) {}

    /// Whether the last inhibitor given out is open somewhere.
    [[nodiscard]] bool held() const {
        pollfd waiting{.fd = m_reading.get(), .events = POLLIN, .revents = 0};
        return m_reading && ::poll(&waiting, 1, 0) == 0;
    }

    void prepareForShutdown(bool begins) {
        service.signal(u"/org/freedesktop/login1"_s, u"org.freedesktop.login1.Manager"_s, u"PrepareForShutdown"_s,
                       {begins});
    }

    MockService service;

private:
    QDBusMessage inhibit(const QDBusMessage& call) {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::pipe(ends.data()), 0);
        m_reading = base::FileDescriptor(ends[0]);
        const base::FileDescriptor writing(ends[1]);
        return call.createReply(QVariant::fromValue(QDBusUnixFileDescriptor(writing.get()))); // holds a copy
    }

    base::FileDescriptor m_reading;
};

QDBusMessage capableOf(const QDBusMessage& call, const QStringList& capabilities) {
    return call.member() == u"GetCapabilities"_s ? call.createReply(capabilities) : call.createReply(7U);
}

const entry::Notification note{.title = u"Brieflet"_s, .body = u"已存：<b>A & B</b>"_s, .identifier = u"id"_s};

} // namespace

TEST_F(DesktopServices, ACallIsAnsweredByItsService) {
    const MockService service(sessionBus, u"test.Service"_s,
                              [](const QDBusMessage& call) { return call.createReply(u"pong"_s); });
    EXPECT_EQ(reply(*session, ping).arguments(), QVariantList{u"pong"_s});
}

TEST_F(DesktopServices, AServiceThatIsNotThereIsAnError) {
    EXPECT_EQ(reply(*session, ping).errorName(), u"org.freedesktop.DBus.Error.ServiceUnknown"_s);
}

TEST_F(DesktopServices, AServiceThatIsSilentIsAnErrorAfterTheLimit) {
    const MockService service(sessionBus, u"test.Service"_s, silence);
    DesktopBus hasty(DesktopBus::Kind::Session, dispatch, 0.1);
    EXPECT_EQ(reply(hasty, ping).errorName(), u"org.freedesktop.DBus.Error.NoReply"_s);
}

TEST_F(DesktopServices, ABusThatFallsSilentHoldsUpNobody) {
    const MockService service(sessionBus, u"test.Service"_s, silence);
    DesktopBus hasty(DesktopBus::Kind::Session, dispatch, 0.1);
    EXPECT_EQ(reply(hasty, ping).type(), QDBusMessage::ErrorMessage);
    sessionBus.pause();
    bool answered = false;
    DesktopNotifications(hasty).status([&](auto) { answered = true; });
    EXPECT_TRUE(answered);
    EXPECT_EQ(reply(hasty, ping).type(), QDBusMessage::ErrorMessage);
    sessionBus.resume();
}

TEST_F(DesktopServices, AMissingBusIsAnError) {
    sessionBus.kill();
    EXPECT_EQ(reply(*session, ping).type(), QDBusMessage::ErrorMessage);
}

TEST_F(DesktopServices, ABusThatComesBackIsFoundAgain) {
    std::optional<PrivateBus> first(std::in_place, PrivateBus::Kind::Session);
    ASSERT_EQ(reply(*session, ping).errorName(), u"org.freedesktop.DBus.Error.ServiceUnknown"_s);
    first.reset();
    EXPECT_EQ(reply(*session, ping).type(), QDBusMessage::ErrorMessage);
    const MockService service(sessionBus, u"test.Service"_s,
                              [](const QDBusMessage& call) { return call.createReply(u"pong"_s); });
    EXPECT_TRUE(eventually([&] { return reply(*session, ping).type() == QDBusMessage::ReplyMessage; }));
}

TEST_F(DesktopServices, CallsAreMadeInTheirOrder) {
    const MockService service(sessionBus, u"test.Service"_s,
                              [](const QDBusMessage& call) { return call.createReply(); });
    for (int number = 0; number < 20; ++number) {
        session->call(numberedPing(number));
    }
    ASSERT_TRUE(settled());
    ASSERT_EQ(service.calls.size(), 20U);
    for (int number = 0; number < 20; ++number) {
        EXPECT_EQ(service.calls[static_cast<std::size_t>(number)].arguments().front().toInt(), number);
    }
}

TEST_F(DesktopServices, ASignalIsHeardOnTheListenersThreadUntilTheSubscriptionEnds) {
    MockService service(sessionBus, u"test.Service"_s, silence);
    std::vector<int> heard;
    auto subscription = session->listen(
        {.service = u"test.Service"_s, .path = u"/test"_s, .interface = u"test.Interface"_s, .name = u"Changed"_s},
        [&](const QDBusMessage& signal) { heard.push_back(signal.arguments().value(0).toInt()); });
    ASSERT_TRUE(settled());
    service.signal(u"/test"_s, u"test.Interface"_s, u"Changed"_s, {1});
    service.signal(u"/test"_s, u"test.Interface"_s, u"Other"_s, {2});
    service.signal(u"/test"_s, u"test.Interface"_s, u"Changed"_s, {3});
    ASSERT_TRUE(eventually([&] { return heard.size() == 2; }));
    EXPECT_THAT(heard, testing::ElementsAre(1, 3));
    subscription.reset();
    service.signal(u"/test"_s, u"test.Interface"_s, u"Changed"_s, {4});
    ASSERT_TRUE(settled());
    runEvents();
    EXPECT_EQ(heard.size(), 2U);
}

TEST_F(DesktopServices, ASubscriptionIsTakenAlongToANewBus) {
    std::optional<PrivateBus> first(std::in_place, PrivateBus::Kind::Session);
    int heard = 0;
    const auto subscription = session->listen(
        {.service = u"test.Service"_s, .path = u"/test"_s, .interface = u"test.Interface"_s, .name = u"Changed"_s},
        [&](const QDBusMessage&) { ++heard; });
    ASSERT_TRUE(settled());
    first.reset();
    MockService service(sessionBus, u"test.Service"_s,
                        [](const QDBusMessage& call) { return call.createReply(u"pong"_s); });
    ASSERT_TRUE(eventually([&] { return reply(*session, ping).type() == QDBusMessage::ReplyMessage; }));
    service.signal(u"/test"_s, u"test.Interface"_s, u"Changed"_s, {});
    EXPECT_TRUE(eventually([&] { return heard == 1; }));
}

TEST_F(DesktopServices, ANotificationCarriesItsTextsWithoutASound) {
    const MockService service(sessionBus, u"org.freedesktop.Notifications"_s,
                              [](const QDBusMessage& call) { return capableOf(call, {u"body"_s}); });
    DesktopNotifications(*session).add(note);
    ASSERT_TRUE(eventually([&] { return service.callsOf(u"Notify"_s).size() == 1; }));
    const QVariantList arguments = service.callsOf(u"Notify"_s).front().arguments();
    ASSERT_EQ(arguments.size(), 8);
    EXPECT_EQ(arguments[0], u"Brieflet"_s);
    EXPECT_EQ(arguments[1].toUInt(), 0U);
    EXPECT_EQ(arguments[3], note.title);
    EXPECT_EQ(arguments[4], note.body);
    EXPECT_TRUE(arguments[5].toStringList().isEmpty());
    EXPECT_EQ(arguments[7].toInt(), -1);
    const auto hints = qdbus_cast<QVariantMap>(arguments[6]);
    EXPECT_EQ(hints[u"suppress-sound"_s], true);
}

TEST_F(DesktopServices, WhereTheBodyIsMarkupTheTextIsEscaped) {
    const MockService service(sessionBus, u"org.freedesktop.Notifications"_s,
                              [](const QDBusMessage& call) { return capableOf(call, {u"body"_s, u"body-markup"_s}); });
    DesktopNotifications(*session).add(note);
    ASSERT_TRUE(eventually([&] { return service.callsOf(u"Notify"_s).size() == 1; }));
    EXPECT_EQ(service.callsOf(u"Notify"_s).front().arguments()[4], u"已存：&lt;b&gt;A &amp; B&lt;/b&gt;"_s);
}

TEST_F(DesktopServices, ADesktopWithoutNotificationsSwallowsThem) {
    DesktopNotifications(*session).add(note);
    EXPECT_TRUE(settled());
    const MockService service(sessionBus, u"org.freedesktop.Notifications"_s, refusal);
    DesktopNotifications(*session).add(note);
    EXPECT_TRUE(settled());
    EXPECT_TRUE(service.callsOf(u"Notify"_s).empty());
}

TEST_F(DesktopServices, NotificationsAreAllowedWithoutAsking) {
    DesktopNotifications notifications(*session);
    std::optional<entry::Notifications::Status> status;
    notifications.status([&](auto given) { status = given; });
    EXPECT_EQ(status, entry::Notifications::Status::Authorized);
    bool granted = false;
    notifications.requestAlerts([&](bool given) { granted = given; });
    EXPECT_TRUE(granted);
}

TEST_F(DesktopServices, TheMachineIsKeptAwakeByLogindUntilTheTokenGoes) {
    MockLogind logind(systemBus);
    DesktopKeepAwake awake(*system, *session);
    auto token = awake.hold(u"Recording"_s);
    ASSERT_TRUE(settled());
    EXPECT_TRUE(logind.held());
    ASSERT_EQ(logind.service.calls.size(), 1U);
    EXPECT_EQ(logind.service.calls.front().arguments(),
              (QVariantList{u"sleep:idle"_s, u"Brieflet"_s, u"Recording"_s, u"block"_s}));
    logind.service.calls.clear();
    token.reset();
    EXPECT_TRUE(eventually([&] { return !logind.held(); }));
}

TEST_F(DesktopServices, ATokenThatGoesBeforeTheAnswerHoldsNothing) {
    MockLogind logind(systemBus);
    DesktopKeepAwake awake(*system, *session);
    (void)awake.hold(u"Recording"_s);
    ASSERT_TRUE(eventually([&] { return !logind.service.calls.empty(); }));
    logind.service.calls.clear();
    EXPECT_TRUE(eventually([&] { return !logind.held(); }));
}

TEST_F(DesktopServices, WhereLogindRefusesTheScreenSaverIsInhibited) {
    const MockService logind(systemBus, u"org.freedesktop.login1"_s, refusal);
    const MockService saver(sessionBus, u"org.freedesktop.ScreenSaver"_s,
                            [](const QDBusMessage& call) { return call.createReply(42U); });
    DesktopKeepAwake awake(*system, *session);
    auto token = awake.hold(u"Recording"_s);
    ASSERT_TRUE(eventually([&] { return saver.callsOf(u"Inhibit"_s).size() == 1; }));
    EXPECT_EQ(saver.calls.front().arguments(), (QVariantList{u"Brieflet"_s, u"Recording"_s}));
    ASSERT_TRUE(settled());
    EXPECT_TRUE(saver.callsOf(u"UnInhibit"_s).empty());
    token.reset();
    ASSERT_TRUE(eventually([&] { return saver.callsOf(u"UnInhibit"_s).size() == 1; }));
    EXPECT_EQ(saver.callsOf(u"UnInhibit"_s).front().arguments(), QVariantList{42U});
}

TEST_F(DesktopServices, WhereThereIsNoScreenSaverThePortalIsAsked) {
    const MockService portal(sessionBus, u"org.freedesktop.portal.Desktop"_s, [](const QDBusMessage& call) {
        return call.createReply(QVariant::fromValue(QDBusObjectPath(u"/request/1"_s)));
    });
    DesktopKeepAwake awake(*system, *session);
    auto token = awake.hold(u"Recording"_s);
    ASSERT_TRUE(eventually([&] { return portal.callsOf(u"Inhibit"_s).size() == 1; }));
    EXPECT_EQ(portal.calls.front().arguments()[1].toUInt(), 12U) << "suspend and idle";
    ASSERT_TRUE(settled());
    token.reset();
    ASSERT_TRUE(eventually([&] { return portal.callsOf(u"Close"_s).size() == 1; }));
    EXPECT_EQ(portal.callsOf(u"Close"_s).front().path(), u"/request/1"_s);
}

TEST_F(DesktopServices, WhereNobodyCanBeAskedTheTokenIsThereAllTheSame) {
    DesktopKeepAwake awake(*system, *session);
    auto token = awake.hold(u"Recording"_s);
    EXPECT_TRUE(token);
    EXPECT_TRUE(settled());
}

TEST_F(DesktopServices, ATokenThatGoesBeforeTheScreenSaverAnswersIsGivenBack) {
    const MockService saver(sessionBus, u"org.freedesktop.ScreenSaver"_s,
                            [](const QDBusMessage& call) { return call.createReply(43U); });
    DesktopKeepAwake awake(*system, *session);
    (void)awake.hold(u"Recording"_s);
    ASSERT_TRUE(eventually([&] { return saver.callsOf(u"UnInhibit"_s).size() == 1; }));
    EXPECT_EQ(saver.callsOf(u"UnInhibit"_s).front().arguments(), QVariantList{43U});
}

TEST_F(DesktopServices, TheMachineGoingDownIsPowerOffBeforeQuit) {
    MockLogind logind(systemBus);
    DesktopShutdownWatch shutdown(*system);
    QStringList heard;
    auto watch =
        shutdown.watch({.onPowerOff = [&] { heard += u"power off"_s; }, .onQuit = [&] { heard += u"quit"_s; }});
    ASSERT_TRUE(settled());
    EXPECT_TRUE(logind.held()) << "logind waits";
    ASSERT_EQ(logind.service.callsOf(u"Inhibit"_s).size(), 1U);
    const QVariantList asked = logind.service.callsOf(u"Inhibit"_s).front().arguments();
    EXPECT_EQ(asked.value(0), u"shutdown"_s);
    EXPECT_EQ(asked.value(3), u"delay"_s);
    logind.prepareForShutdown(true);
    ASSERT_TRUE(eventually([&] { return heard.size() == 2; }));
    EXPECT_EQ(heard, (QStringList{u"power off"_s, u"quit"_s}));
    logind.service.calls.clear();
    watch.reset();
    EXPECT_TRUE(eventually([&] { return !logind.held(); }));
}

TEST_F(DesktopServices, AShutdownThatIsCalledOffIsNoEnd) {
    MockLogind logind(systemBus);
    DesktopShutdownWatch shutdown(*system);
    int quits = 0;
    const auto watch = shutdown.watch({.onPowerOff = [&] { ++quits; }, .onQuit = [&] { ++quits; }});
    ASSERT_TRUE(settled());
    logind.prepareForShutdown(false);
    logind.prepareForShutdown(true); // so that the first is known to have come
    ASSERT_TRUE(eventually([&] { return quits > 0; }));
    EXPECT_EQ(quits, 2);
}

TEST_F(DesktopServices, AWatchThatHasEndedHearsNothing) {
    MockLogind logind(systemBus);
    DesktopShutdownWatch shutdown(*system);
    int quits = 0;
    auto watch = shutdown.watch({.onPowerOff = {}, .onQuit = [&] { ++quits; }});
    ASSERT_TRUE(settled());
    watch.reset();
    logind.prepareForShutdown(true);
    ASSERT_TRUE(settled());
    runEvents();
    EXPECT_EQ(quits, 0);
}

TEST_F(DesktopServices, SignalsAreQuitRequestsAndNothingElse) {
    DesktopShutdownWatch shutdown(*system);
    int powerOffs = 0;
    int quits = 0;
    const auto watch = shutdown.watch({.onPowerOff = [&] { ++powerOffs; }, .onQuit = [&] { ++quits; }});
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        const int before = quits;
        ::raise(signal);
        ASSERT_TRUE(eventually([&] { return quits > before; })) << signal;
        EXPECT_EQ(quits, before + 1);
    }
    EXPECT_EQ(powerOffs, 0);
}

TEST_F(DesktopServices, SignalsDoWhatTheyDidBeforeOnceTheWatchHasEnded) {
    const auto handlerOf = [](int signal) {
        struct sigaction now{};
        ::sigaction(signal, nullptr, &now);
        return now.sa_handler;
    };
    ::signal(SIGHUP, SIG_IGN);
    DesktopShutdownWatch shutdown(*system);
    auto watch = shutdown.watch({});
    EXPECT_EQ(handlerOf(SIGHUP), SIG_IGN) << "nohup stays in force";
    EXPECT_NE(handlerOf(SIGTERM), SIG_DFL);
    watch.reset();
    EXPECT_EQ(handlerOf(SIGTERM), SIG_DFL);
    EXPECT_EQ(handlerOf(SIGINT), SIG_DFL);
    ::signal(SIGHUP, SIG_DFL);
}

TEST_F(DesktopServices, AWatchMayBeEndedByItsOwnHandler) {
    DesktopShutdownWatch shutdown(*system);
    std::unique_ptr<entry::ShutdownWatch::Watch> watch;
    bool ended = false;
    watch = shutdown.watch({.onPowerOff = {}, .onQuit = [&] {
                                watch.reset();
                                ended = true;
                            }});
    ::raise(SIGTERM);
    EXPECT_TRUE(eventually([&] { return ended; }));
}

TEST_F(DesktopServices, AFolderIsShownByTheFileManager) {
    const MockService files(sessionBus, u"org.freedesktop.FileManager1"_s,
                            [](const QDBusMessage& call) { return call.createReply(); });
    std::vector<Command> started;
    DesktopOpener opener(*session, main, [&](const std::vector<Command>& commands) {
        started = commands;
        return true;
    });
    opener.openFolder("/tmp/a b/週會#1%");
    ASSERT_TRUE(eventually([&] { return files.calls.size() == 1; }));
    EXPECT_EQ(files.calls.front().member(), u"ShowFolders"_s);
    EXPECT_EQ(files.calls.front().arguments()[0].toStringList(),
              QStringList{u"file:///tmp/a%20b/%E9%80%B1%E6%9C%83%231%25"_s});
    ASSERT_TRUE(settled());
    runEvents();
    EXPECT_TRUE(started.empty());
}

TEST_F(DesktopServices, WithoutAFileManagerOnTheBusTheFolderIsOpenedByItsAddress) {
    std::vector<Command> started;
    DesktopOpener opener(*session, main, [&](const std::vector<Command>& commands) {
        started = commands;
        return true;
    });
    opener.openFolder("/tmp/a b");
    ASSERT_TRUE(eventually([&] { return !started.empty(); }));
    EXPECT_EQ(started, DesktopOpener::commandsForAddress(u"file:///tmp/a%20b"_s));
}

TEST_F(DesktopServices, AFileManagerThatIsSlowIsNotAskedTwice) {
    const MockService files(sessionBus, u"org.freedesktop.FileManager1"_s, silence);
    DesktopBus hasty(DesktopBus::Kind::Session, dispatch, 0.1);
    int starts = 0;
    DesktopOpener opener(hasty, main, [&](const auto&) { return ++starts > 0; });
    opener.openFolder("/tmp");
    auto done = std::make_shared<std::atomic<bool>>(false);
    hasty.afterwards([done] { *done = true; });
    ASSERT_TRUE(eventually([&] { return done->load(); }));
    runEvents();
    EXPECT_EQ(starts, 0);
}

TEST_F(DesktopServices, QtListsTheScreensOfTheDesk) {
    QtScreens screens(main, u"no pictures"_s);
    std::optional<capture::ScreenContent> content;
    screens.content([&](auto reply) { content = *reply; });
    ASSERT_TRUE(eventually([&] { return content.has_value(); }));
    const auto listed = QGuiApplication::screens();
    ASSERT_EQ(static_cast<qsizetype>(content->displays.size()), listed.size());
    const capture::Display& first = content->displays.front();
    EXPECT_EQ(first.id, QtScreens::idOf(listed.front()->name()));
    EXPECT_EQ(first.frame.width, listed.front()->geometry().width());
    EXPECT_EQ(first.pixelWidth, listed.front()->geometry().width());
    EXPECT_EQ(content->mainDisplay, QtScreens::idOf(QGuiApplication::primaryScreen()->name()));
    EXPECT_TRUE(content->windows.empty());
}

namespace {

/// A portal that answers with a picture of the desk whose right half is red, in a file of its own.
class MockPortal {
public:
    explicit MockPortal(const PrivateBus& bus)
        : service(bus, u"org.freedesktop.portal.Desktop"_s, [this](const QDBusMessage& call) { return shoot(call); }) {}

    uint code = 0;
    bool answers = true;
    QTemporaryDir folder;
    MockService service;

    [[nodiscard]] QString file() const { return folder.filePath(u"Screenshot.png"_s); }

    void answer(const QString& token) {
        const QSize size = QGuiApplication::primaryScreen()->virtualSize();
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::blue);
        QPainter(&picture).fillRect(size.width() / 2, 0, size.width(), size.height(), Qt::red);
        EXPECT_TRUE(picture.save(file()));
        service.signal(u"/org/freedesktop/portal/desktop/request/1_7/"_s + token, u"org.freedesktop.portal.Request"_s,
                       u"Response"_s, {code, QVariantMap{{u"uri"_s, QUrl::fromLocalFile(file()).toString()}}});
    }

    [[nodiscard]] QString lastToken() const {
        return qdbus_cast<QVariantMap>(service.calls.back().arguments().value(1))[u"handle_token"_s].toString();
    }

private:
    QDBusMessage shoot(const QDBusMessage& call) {
        const auto options = qdbus_cast<QVariantMap>(call.arguments().value(1));
        EXPECT_EQ(options[u"interactive"_s], false);
        if (answers) {
            answer(options[u"handle_token"_s].toString());
        }
        return call.createReply(QVariant::fromValue(QDBusObjectPath(u"/request"_s)));
    }
};

} // namespace

class PortalScreensTest : public DesktopServices {
protected:
    MockPortal portal{sessionBus};
    PortalScreens screens{dispatch, *session};

    std::expected<QImage, QString> picture(const QScreen& screen) {
        const QRect place = screen.geometry();
        const capture::Rect frame{.x = static_cast<double>(place.x()),
                                  .y = static_cast<double>(place.y()),
                                  .width = static_cast<double>(place.width()),
                                  .height = static_cast<double>(place.height())};
        auto answer = std::make_shared<std::promise<std::expected<QImage, QString>>>();
        auto future = answer->get_future();
        screens.picture({.id = 1, .frame = frame}, 192, 108, [answer](auto reply) { answer->set_value(reply); });
        EXPECT_TRUE(eventually([&] { return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return future.get();
    }
};

TEST_F(PortalScreensTest, APictureShowsItsScreenAloneAndItsFileIsDeleted) {
    for (const QScreen* screen : QGuiApplication::screens()) {
        const auto shown = picture(*screen);
        ASSERT_TRUE(shown) << shown.error().toStdString();
        EXPECT_EQ(shown->size(), QSize(192, 108));
        EXPECT_EQ(shown->pixelColor(90, 50), screen->geometry().x() == 0 ? Qt::blue : Qt::red);
        EXPECT_FALSE(QFile::exists(portal.file()));
    }
}

TEST_F(PortalScreensTest, ANoOfTheUserIsAnErrorInWords) {
    portal.code = 1;
    EXPECT_EQ(picture(*QGuiApplication::primaryScreen()).error(), copy::DesktopCopy::current().pictureRefused);
}

TEST_F(PortalScreensTest, APortalThatRefusesTheCallIsAnErrorInWords) {
    std::optional<PrivateBus> other(std::in_place, PrivateBus::Kind::Session);
    DesktopBus elsewhere(DesktopBus::Kind::Session, dispatch, 30);
    PortalScreens without(dispatch, elsewhere);
    auto answer = std::make_shared<std::promise<QString>>();
    auto future = answer->get_future();
    without.picture({}, 10, 10, [answer](const auto& reply) { answer->set_value(reply.error()); });
    ASSERT_TRUE(eventually([&] { return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_EQ(future.get(), copy::DesktopCopy::current().noWaylandPictures);
}

TEST_F(PortalScreensTest, APortalThatSaysNothingHasRefusedAfterTheLimit) {
    portal.answers = false;
    fakes::ManualDispatch manual;
    PortalScreens waiting(manual, *session);
    std::optional<QString> error;
    waiting.picture({}, 10, 10, [&](const auto& reply) { error = reply.error(); });
    manual.advance(PortalScreens::answerLimit - 0.01);
    EXPECT_FALSE(error);
    manual.advance(0.01);
    EXPECT_EQ(error, copy::DesktopCopy::current().pictureRefused.toString());
    ASSERT_TRUE(settled());
}

TEST_F(PortalScreensTest, AnAnswerThatNobodyWaitsForLeavesNoFile) {
    ASSERT_TRUE(settled());
    portal.answer(u"brieflet0123"_s);
    EXPECT_TRUE(eventually([&] { return !QFile::exists(portal.file()); }));
    portal.answer(u"other0123"_s);
    ASSERT_TRUE(settled());
    runEvents();
    EXPECT_TRUE(QFile::exists(portal.file())) << "another program's is left alone";
}

TEST_F(PortalScreensTest, APictureThatCannotBeReadIsAnErrorInWords) {
    portal.answers = false;
    auto answer = std::make_shared<std::promise<QString>>();
    auto future = answer->get_future();
    screens.picture({}, 10, 10, [answer](const auto& reply) { answer->set_value(reply.error()); });
    ASSERT_TRUE(eventually([&] { return !portal.service.calls.empty(); }));
    ASSERT_TRUE(QFile(portal.file()).open(QIODevice::WriteOnly));
    portal.service.signal(u"/request/"_s + portal.lastToken(), u"org.freedesktop.portal.Request"_s, u"Response"_s,
                          {0U, QVariantMap{{u"uri"_s, QUrl::fromLocalFile(portal.file()).toString()}}});
    ASSERT_TRUE(eventually([&] { return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    EXPECT_EQ(future.get(), copy::DesktopCopy::current().pictureUnreadable);
}

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    const QGuiApplication application(argc, argv);
    return RUN_ALL_TESTS();
}
