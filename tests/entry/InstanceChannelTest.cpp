#include "entry/InstanceChannel.h"

#include "base/Handle.h"
#include "fakes/QtPrinters.h"
#include "fakes/TemporaryFolder.h"

#include <QCoreApplication>
#include <QLocalSocket>
#include <QStringList>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <thread>

namespace entry {
namespace {

using namespace Qt::StringLiterals;

constexpr double patience = 10.0; // a machine under load may need seconds for what takes a millisecond

class InstanceChannelTest : public testing::Test {
protected:
    /// Says a word from another thread while the event loop of this one answers it.
    std::optional<QString> say(const QString& word) {
        std::optional<QString> answer;
        bool done = false;
        std::thread caller([&] {
            answer = sayToInstance(root.path, word, patience);
            QMetaObject::invokeMethod(&application, [&] { done = true; }, Qt::QueuedConnection);
        });
        while (!done) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        caller.join();
        return answer;
    }

    int argumentCount = 1;
    std::array<char, 5> name = {"test"};
    std::array<char*, 2> arguments = {name.data(), nullptr};
    QCoreApplication application{argumentCount, arguments.data()};
    fakes::TemporaryFolder root;
    QStringList heard;
    InstanceChannel channel{root.path, [this](const QString& word) -> QString {
                                heard.append(word);
                                return u"heard "_s + word;
                            }};
};

TEST_F(InstanceChannelTest, AWordGetsItsAnswer) {
    ASSERT_TRUE(channel.listening());
    EXPECT_EQ(say(u"show"_s), u"heard show"_s);
    EXPECT_EQ(heard, QStringList{u"show"_s});
}

TEST_F(InstanceChannelTest, WordsOfAnyLanguagePass) {
    EXPECT_EQ(say(u"開始 recording"_s), u"heard 開始 recording"_s);
}

TEST_F(InstanceChannelTest, CallersComeOneAfterTheOther) {
    for (int call = 0; call < 2 * InstanceChannel::maxCallers; ++call) {
        EXPECT_EQ(say(QString::number(call)), QString(u"heard "_s + QString::number(call)));
    }
}

TEST_F(InstanceChannelTest, ACallerThatSaysTooMuchIsCutOff) {
    QLocalSocket caller;
    caller.setSocketOptions(QLocalSocket::AbstractNamespaceOption);
    caller.connectToServer(InstanceChannel::address(root.path));
    ASSERT_TRUE(caller.waitForConnected());
    caller.write(QByteArray(InstanceChannel::maxLine + 1, 'x'));
    while (caller.state() != QLocalSocket::UnconnectedState) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    EXPECT_TRUE(heard.isEmpty());
    EXPECT_EQ(say(u"show"_s), u"heard show"_s);
}

TEST_F(InstanceChannelTest, RootsHaveChannelsOfTheirOwn) {
    EXPECT_NE(InstanceChannel::address("/a"), InstanceChannel::address("/b"));
    EXPECT_EQ(InstanceChannel::address("/a/b/../c/"), InstanceChannel::address("/a/c"));
}

TEST_F(InstanceChannelTest, ASecondChannelOfARootDoesNotListen) {
    const InstanceChannel second(root.path, [](const QString&) { return QString(); });
    EXPECT_FALSE(second.listening());
    EXPECT_EQ(say(u"show"_s), u"heard show"_s);
}

TEST_F(InstanceChannelTest, NobodyAnswersForARootWithoutAnInstance) {
    const fakes::TemporaryFolder other;
    EXPECT_EQ(sayToInstance(other.path, u"show"_s, 0.0), std::nullopt);
}

} // namespace
} // namespace entry
