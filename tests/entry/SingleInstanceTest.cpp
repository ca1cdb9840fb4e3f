#include "entry/SingleInstance.h"

#include "base/Files.h"
#include "fakes/QtPrinters.h"
#include "fakes/TemporaryFolder.h"

#include <QProcess>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <map>
#include <memory>
#include <unistd.h>
#include <vector>

namespace entry {
namespace {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;
using SingleInstance::Holder;

const auto ownPID = static_cast<std::int32_t>(::getpid());

SingleInstance::PathOfProcess paths(std::map<std::int32_t, QString> running) {
    return [running = std::move(running)](std::int32_t pid) {
        const auto found = running.find(pid);
        return found == running.end() ? std::nullopt : std::optional(found->second);
    };
}

// ---- The file's text

TEST(SingleInstanceTextTest, IsTwoLines) {
    EXPECT_EQ(SingleInstance::text({42, u"/opt/a b"_s}), u"42\n/opt/a b\n"_s);
}

TEST(SingleInstanceTextTest, WhatIsWrittenIsRead) {
    const Holder holder{2147483647, u"/opt/a b"_s};
    EXPECT_EQ(SingleInstance::parse(SingleInstance::text(holder)), holder);
}

TEST(SingleInstanceTextTest, SpacesAroundTheLinesAreTrimmed) {
    EXPECT_EQ(SingleInstance::parse(u" \t42 \r\n\t /opt/x \r\nmore"_s), (Holder{42, u"/opt/x"_s}));
}

TEST(SingleInstanceTextTest, TheLastLineNeedsNoEnd) {
    EXPECT_EQ(SingleInstance::parse(u"42\n/opt/x"_s), (Holder{42, u"/opt/x"_s}));
}

TEST(SingleInstanceTextTest, WhatIsNotAHolderIsNothing) {
    EXPECT_EQ(SingleInstance::parse(std::nullopt), std::nullopt);
    for (const auto& text : {u""_s, u"42"_s, u"\n"_s, u"\n/opt/x\n"_s, u"x\n/opt/x\n"_s, u"4 2\n/opt/x\n"_s,
                             u"0x2A\n/opt/x\n"_s, u"42.0\n/opt/x\n"_s, u"42\n\n/opt/x\n"_s, u"42\n \t\n"_s}) {
        EXPECT_EQ(SingleInstance::parse(text), std::nullopt) << text.toStdString();
    }
}

TEST(SingleInstanceTextTest, ANumberMustFitThirtyTwoBits) {
    EXPECT_EQ(SingleInstance::parse(u"2147483647\n/x\n"_s)->pid, 2147483647);
    EXPECT_EQ(SingleInstance::parse(u"2147483648\n/x\n"_s), std::nullopt);
    EXPECT_EQ(SingleInstance::parse(u"99999999999999999999\n/x\n"_s), std::nullopt);
}

// ---- Who is running

TEST(SingleInstanceOtherTest, ALiveProcessWithTheSamePathIsTheOther) {
    EXPECT_EQ(SingleInstance::other(u"42\n/opt/x\n"_s, 7, paths({{42, u"/opt/x"_s}})), (Holder{42, u"/opt/x"_s}));
}

TEST(SingleInstanceOtherTest, TheOwnProcessIsNoOtherEvenIfThePathMatches) {
    EXPECT_EQ(SingleInstance::other(u"42\n/opt/x\n"_s, 42, paths({{42, u"/opt/x"_s}})), std::nullopt);
}

TEST(SingleInstanceOtherTest, ALiveProcessWithAnotherPathIsNone) {
    EXPECT_EQ(SingleInstance::other(u"42\n/opt/x\n"_s, 7, paths({{42, u"/opt/y"_s}})), std::nullopt);
}

TEST(SingleInstanceOtherTest, ADeadProcessIsNone) {
    EXPECT_EQ(SingleInstance::other(u"42\n/opt/x\n"_s, 7, paths({})), std::nullopt);
}

TEST(SingleInstanceOtherTest, RubbishIsNone) {
    EXPECT_EQ(SingleInstance::other(u"rubbish"_s, 7, paths({{42, u"/opt/x"_s}})), std::nullopt);
    EXPECT_EQ(SingleInstance::other(std::nullopt, 7, paths({{42, u"/opt/x"_s}})), std::nullopt);
}

TEST(SingleInstancePathTest, TheOwnExecutableIsFound) {
    EXPECT_EQ(SingleInstance::executablePath(ownPID), base::pathText(fs::read_symlink("/proc/self/exe")));
}

TEST(SingleInstancePathTest, AProcessThatIsNotThereHasNone) {
    EXPECT_EQ(SingleInstance::executablePath(0), std::nullopt);
    EXPECT_EQ(SingleInstance::executablePath(-1), std::nullopt);
}

// ---- Claims, with real processes

/// A copy of the small program that claims a root and then holds it until its input ends.
class Claimer {
public:
    explicit Claimer(const fs::path& root, const fs::path& program = CLAIMER_PROGRAM) {
        m_process.start(base::pathText(program), {base::pathText(root)});
    }

    /// "mine", or "other PID" after a claim that found another.
    [[nodiscard]] QString answer() {
        while (!m_process.canReadLine() && m_process.waitForReadyRead(-1)) {
        }
        return QString::fromUtf8(m_process.readLine()).trimmed();
    }

    [[nodiscard]] qint64 pid() const { return m_process.processId(); }

    void kill() {
        m_process.kill();
        m_process.waitForFinished(-1);
    }

    /// Lets it give the lock up and end.
    void finish() {
        m_process.closeWriteChannel();
        m_process.waitForFinished(-1);
    }

    ~Claimer() { finish(); }

private:
    QProcess m_process;
};

class SingleInstanceClaimTest : public testing::Test {
protected:
    [[nodiscard]] QString lockText() const { return base::readText(SingleInstance::url(root)).value_or(QString()); }

    void writeLock(const QString& text) const {
        ASSERT_TRUE(base::replaceFile(SingleInstance::url(root), text.toUtf8()).has_value());
    }

    /// What is in the root beside the lock.
    [[nodiscard]] std::vector<std::string> leftOvers() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(root)) {
            if (entry.path() != SingleInstance::url(root)) {
                found.push_back(entry.path().filename().string());
            }
        }
        return found;
    }

    void expectExactlyOneOf64() {
        std::vector<std::unique_ptr<Claimer>> claimers;
        for (int count = 0; count < 64; ++count) {
            claimers.push_back(std::make_unique<Claimer>(root));
        }
        std::vector<qint64> winners;
        std::vector<QString> others;
        for (const auto& claimer : claimers) {
            const QString answer = claimer->answer();
            if (answer == u"mine"_s) {
                winners.push_back(claimer->pid());
            } else {
                others.push_back(answer);
            }
        }
        ASSERT_EQ(winners.size(), 1U);
        EXPECT_THAT(others, testing::Each(QString(u"other "_s + QString::number(winners[0]))));
        EXPECT_EQ(SingleInstance::parse(lockText())->pid, winners[0]);
        EXPECT_THAT(leftOvers(), testing::IsEmpty());
    }

    fakes::TemporaryFolder folder;
    fs::path root = folder.path / "root";
};

TEST_F(SingleInstanceClaimTest, AnEmptyRootIsClaimedAndReleased) {
    EXPECT_EQ(SingleInstance::claim(root), std::nullopt);
    EXPECT_EQ(lockText(), SingleInstance::text({ownPID, *SingleInstance::executablePath(ownPID)}));
    EXPECT_THAT(leftOvers(), testing::IsEmpty());
    SingleInstance::release(root);
    EXPECT_FALSE(fs::exists(SingleInstance::url(root)));
}

TEST_F(SingleInstanceClaimTest, ARootWithParentsToMakeIsClaimed) {
    const fs::path deep = root / "a" / "b";
    EXPECT_EQ(SingleInstance::claim(deep), std::nullopt);
    EXPECT_TRUE(fs::exists(SingleInstance::url(deep)));
}

TEST_F(SingleInstanceClaimTest, ALiveInstanceIsReturnedAndItsLockStays) {
    Claimer running(root);
    ASSERT_EQ(running.answer(), u"mine"_s);
    const QString before = lockText();
    const auto found = SingleInstance::claim(root);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->pid, running.pid());
    EXPECT_EQ(lockText(), before);
    EXPECT_THAT(leftOvers(), testing::IsEmpty());
}

TEST_F(SingleInstanceClaimTest, TheLockOfAKilledInstanceIsReplaced) {
    Claimer running(root);
    ASSERT_EQ(running.answer(), u"mine"_s);
    running.kill();
    ASSERT_TRUE(fs::exists(SingleInstance::url(root)));
    EXPECT_EQ(SingleInstance::claim(root), std::nullopt);
    EXPECT_EQ(SingleInstance::parse(lockText())->pid, ownPID);
}

TEST_F(SingleInstanceClaimTest, AnInstanceThatEndsGivesItsLockUp) {
    {
        Claimer running(root);
        ASSERT_EQ(running.answer(), u"mine"_s);
    }
    EXPECT_FALSE(fs::exists(SingleInstance::url(root)));
}

TEST_F(SingleInstanceClaimTest, TheOwnLeftOverIsReplaced) {
    fs::create_directories(root);
    writeLock(SingleInstance::text({ownPID, *SingleInstance::executablePath(ownPID)}));
    EXPECT_EQ(SingleInstance::claim(root), std::nullopt);
    EXPECT_EQ(SingleInstance::parse(lockText())->pid, ownPID);
}

TEST_F(SingleInstanceClaimTest, RubbishIsReplaced) {
    fs::create_directories(root);
    writeLock(u"rubbish"_s);
    EXPECT_EQ(SingleInstance::claim(root), std::nullopt);
    EXPECT_EQ(SingleInstance::parse(lockText())->pid, ownPID);
}

TEST_F(SingleInstanceClaimTest, ALockThatCannotBeTakenAwayDoesNotKeepTheProgramFromStarting) {
    EXPECT_EQ(SingleInstance::maxRounds, 3);
    fs::create_directories(SingleInstance::url(root) / "in the way");
    EXPECT_EQ(SingleInstance::claim(root), std::nullopt);
    EXPECT_TRUE(fs::is_directory(SingleInstance::url(root)));
    EXPECT_THAT(leftOvers(), testing::IsEmpty());
}

TEST_F(SingleInstanceClaimTest, ARootThatCannotBeMadeDoesNotKeepTheProgramFromStarting) {
    ASSERT_TRUE(base::replaceFile(root, "a file").has_value());
    EXPECT_EQ(SingleInstance::claim(root), std::nullopt);
}

TEST_F(SingleInstanceClaimTest, AnInstanceWhoseExecutableWasReplacedIsStillFound) {
    const fs::path program = folder.path / "claimer";
    fs::copy_file(CLAIMER_PROGRAM, program);
    Claimer running(root, program);
    ASSERT_EQ(running.answer(), u"mine"_s);
    fs::remove(program); // as an upgrade does
    const auto found = SingleInstance::claim(root);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->pid, running.pid());
}

TEST_F(SingleInstanceClaimTest, ReleaseLeavesTheLockOfAnotherAlone) {
    fs::create_directories(root);
    const QString text = SingleInstance::text({ownPID + 1, u"/opt/x"_s});
    writeLock(text);
    SingleInstance::release(root);
    EXPECT_EQ(lockText(), text);
}

TEST_F(SingleInstanceClaimTest, ReleaseWithoutALockDoesNothing) {
    SingleInstance::release(root);
    EXPECT_FALSE(fs::exists(root));
}

TEST_F(SingleInstanceClaimTest, Of64StartsOnAnEmptyRootExactlyOneWins) {
    expectExactlyOneOf64();
}

TEST_F(SingleInstanceClaimTest, Of64StartsOnAStaleLockExactlyOneWins) {
    fs::create_directories(root);
    Claimer dead(folder.path / "other");
    ASSERT_EQ(dead.answer(), u"mine"_s);
    const auto pid = static_cast<std::int32_t>(dead.pid());
    dead.kill();
    writeLock(SingleInstance::text({pid, u"" CLAIMER_PROGRAM ""_s}));
    expectExactlyOneOf64();
}

TEST_F(SingleInstanceClaimTest, Of64StartsOnARubbishLockExactlyOneWins) {
    fs::create_directories(root);
    writeLock(u"rubbish\n\n"_s);
    expectExactlyOneOf64();
}

} // namespace
} // namespace entry
