#include "store/TypeRewriter.h"

#include "fakes/ManualScheduler.h"
#include "fakes/TemporaryFolder.h"
#include "store/MeetingFolders.h"

#include <gtest/gtest.h>

#include <string>

using namespace Qt::StringLiterals;
using store::TypeChange;
using store::TypeRename;
using store::TypeRewriter;

namespace {

/// Passes a fixed time at each look, as if every meeting took that long.
class CostlyClock final : public base::HostClock {
public:
    [[nodiscard]] double now() const noexcept override { return m_now += secondsPerLook; }

    double secondsPerLook = TypeRewriter::sliceSeconds;

private:
    mutable double m_now = 0;
};

class TypeRewriterTest : public testing::Test {
protected:
    void SetUp() override {
        meetings.add(newest, u"Work"_s);
        meetings.add(middle, u"Work"_s);
        meetings.add(oldest, u"Work"_s);
    }

    [[nodiscard]] TypeRename change(const QString& from, const std::optional<QString>& to) const {
        return {meetings.path, from, to};
    }

    /// Writes what it is told into `told`.
    [[nodiscard]] TypeRewriter::Handlers telling(const QString& name = u"job"_s) {
        return {.onProgress =
                    [this, name](std::size_t done, std::size_t total) {
                        told.append(name + u' ' + QString::number(done) + u'/' + QString::number(total));
                    },
                .onFinished =
                    [this, name](TypeChange result) {
                        told.append(name + u' ' + QString::number(result.changed) + u" changed "_s +
                                    QString::number(result.failed) + u" failed"_s);
                    }};
    }

    /// From the listing on to the end of the first slice.
    void runFirstSlice() { dispatch.runDue(); }

    void runNextSlice() { dispatch.advance(TypeRewriter::pauseSeconds); }

    [[nodiscard]] QStringList typesNewestFirst() const {
        return {meetings.type(newest).value_or(u"-"_s), meetings.type(middle).value_or(u"-"_s),
                meetings.type(oldest).value_or(u"-"_s)};
    }

    const std::string newest = "2025_03_09_0930_a";
    const std::string middle = "2025_03_08_0930_b";
    const std::string oldest = "2025_03_07_0930_c";
    fakes::TemporaryFolder folder;
    fakes::MeetingFolders meetings{folder / "meetings"};
    fakes::ManualDispatch dispatch;
    CostlyClock clock;
    std::unique_ptr<TypeRewriter> rewriter = std::make_unique<TypeRewriter>(dispatch, clock);
    QStringList told;
};

TEST_F(TypeRewriterTest, DoesNothingBeforeItIsToldTo) {
    dispatch.runDue();
    EXPECT_FALSE(rewriter->running());
    EXPECT_EQ(dispatch.backgroundTasks, 0);
}

TEST_F(TypeRewriterTest, RewritesSliceBySliceNewestFirst) {
    rewriter->add(change(u"Work"_s, u"Job"_s), telling());
    EXPECT_TRUE(rewriter->running());
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Work"_s, u"Work"_s, u"Work"_s}));
    runFirstSlice();
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Job"_s, u"Work"_s, u"Work"_s}));
    runNextSlice();
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Job"_s, u"Job"_s, u"Work"_s}));
    runNextSlice();
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Job"_s, u"Job"_s, u"Job"_s}));
    EXPECT_EQ(told, (QStringList{u"job 1/3"_s, u"job 2/3"_s, u"job 3/3"_s, u"job 3 changed 0 failed"_s}));
    EXPECT_FALSE(rewriter->running());
}

TEST_F(TypeRewriterTest, ASliceGoesOnUntilItsTimeIsOver) {
    clock.secondsPerLook = TypeRewriter::sliceSeconds / 2;
    rewriter->add(change(u"Work"_s, u"Job"_s), telling());
    runFirstSlice();
    EXPECT_EQ(told, QStringList{u"job 2/3"_s});
    runNextSlice();
    EXPECT_EQ(told, (QStringList{u"job 2/3"_s, u"job 3/3"_s, u"job 3 changed 0 failed"_s}));
}

TEST_F(TypeRewriterTest, ListsInTheBackground) {
    dispatch.holdBackground = true;
    rewriter->add(change(u"Work"_s, u"Job"_s), telling());
    dispatch.runDue();
    EXPECT_EQ(dispatch.backgroundTasks, 1);
    EXPECT_EQ(told, QStringList());
    dispatch.releaseBackground();
    dispatch.runDue();
    EXPECT_EQ(told, QStringList{u"job 1/3"_s});
}

TEST_F(TypeRewriterTest, ARemovedTypeLeavesItsMeetingsUncategorized) {
    rewriter->add(change(u"Work"_s, std::nullopt), {});
    dispatch.advance(1);
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"-"_s, u"-"_s, u"-"_s}));
}

TEST_F(TypeRewriterTest, FinishesAtOnceWithoutMeetings) {
    rewriter->add(change(u"Club"_s, u"Job"_s), telling());
    dispatch.runDue();
    EXPECT_EQ(told, (QStringList{u"job 0/0"_s, u"job 0 changed 0 failed"_s}));
    EXPECT_FALSE(rewriter->running());
}

TEST_F(TypeRewriterTest, ASecondChangeWaitsForTheFirst) {
    rewriter->add(change(u"Work"_s, u"Job"_s), telling(u"first"_s));
    rewriter->add(change(u"Job"_s, u"Club"_s), telling(u"second"_s));
    dispatch.advance(1);
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Club"_s, u"Club"_s, u"Club"_s}));
    EXPECT_EQ(told.filter(u"changed"_s), (QStringList{u"first 3 changed 0 failed"_s, u"second 3 changed 0 failed"_s}));
}

TEST_F(TypeRewriterTest, AMeetingThatTheUserChangedMeanwhileIsLeftAlone) {
    rewriter->add(change(u"Work"_s, u"Job"_s), telling());
    runFirstSlice();
    meetings.add(middle, u"Home"_s);
    dispatch.advance(1);
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Job"_s, u"Home"_s, u"Job"_s}));
    EXPECT_EQ(told.last(), u"job 2 changed 0 failed"_s);
}

TEST_F(TypeRewriterTest, AMeetingDamagedMeanwhileIsCountedAndTheOthersGoOn) {
    rewriter->add(change(u"Work"_s, u"Job"_s), telling());
    runFirstSlice();
    meetings.write(middle, "{");
    dispatch.advance(1);
    EXPECT_EQ(meetings.meta(middle), "{");
    EXPECT_EQ(meetings.type(oldest), u"Job"_s);
    EXPECT_EQ(told.last(), u"job 2 changed 1 failed"_s);
}

TEST_F(TypeRewriterTest, FinishingDoesAllThatIsLeftAtOnce) {
    rewriter->add(change(u"Work"_s, u"Job"_s), telling(u"first"_s));
    rewriter->add(change(u"Job"_s, u"Club"_s), telling(u"second"_s));
    runFirstSlice();
    rewriter->finish();
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Club"_s, u"Club"_s, u"Club"_s}));
    EXPECT_FALSE(rewriter->running());
    const auto atTheEnd = told;
    dispatch.advance(1);
    EXPECT_EQ(told, atTheEnd);
}

TEST_F(TypeRewriterTest, FinishingDoesNotWaitForTheListing) {
    dispatch.holdBackground = true;
    rewriter->add(change(u"Work"_s, u"Job"_s), telling());
    rewriter->finish();
    EXPECT_EQ(told, QStringList{u"job 3 changed 0 failed"_s});
    dispatch.releaseBackground();
    dispatch.advance(1);
    EXPECT_EQ(told, QStringList{u"job 3 changed 0 failed"_s});
}

TEST_F(TypeRewriterTest, FinishingWithNothingToDoDoesNothing) {
    rewriter->finish();
    rewriter->add(change(u"Work"_s, u"Job"_s), telling());
    dispatch.advance(1);
    EXPECT_EQ(told.last(), u"job 3 changed 0 failed"_s);
}

TEST_F(TypeRewriterTest, AHandlerMayAddAChange) {
    auto handlers = telling(u"first"_s);
    handlers.onFinished = [this](TypeChange) { rewriter->add(change(u"Job"_s, u"Club"_s), telling(u"second"_s)); };
    rewriter->add(change(u"Work"_s, u"Job"_s), handlers);
    dispatch.advance(1);
    EXPECT_EQ(told.last(), u"second 3 changed 0 failed"_s);
    EXPECT_EQ(dispatch.backgroundTasks, 2);

    handlers.onFinished = [this](TypeChange) { rewriter->add(change(u"Work"_s, u"Home"_s), telling(u"fourth"_s)); };
    rewriter->add(change(u"Club"_s, u"Work"_s), handlers);
    rewriter->finish();
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Home"_s, u"Home"_s, u"Home"_s}));
    dispatch.advance(1);
    EXPECT_FALSE(rewriter->running());
}

TEST_F(TypeRewriterTest, AHandlerMayFinishTheRest) {
    TypeRewriter::Handlers handlers;
    handlers.onProgress = [this](std::size_t, std::size_t) { rewriter->finish(); };
    rewriter->add(change(u"Work"_s, u"Job"_s), handlers);
    runFirstSlice();
    EXPECT_FALSE(rewriter->running());
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Job"_s, u"Job"_s, u"Job"_s}));
}

TEST_F(TypeRewriterTest, AHandlerMayDestroyIt) {
    TypeRewriter::Handlers handlers;
    handlers.onProgress = [this](std::size_t, std::size_t) { rewriter.reset(); };
    rewriter->add(change(u"Work"_s, u"Job"_s), handlers);
    dispatch.advance(1);
    EXPECT_EQ(rewriter, nullptr);

    rewriter = std::make_unique<TypeRewriter>(dispatch, clock);
    rewriter->add(change(u"Work"_s, u"Job"_s),
                  {.onProgress = {}, .onFinished = [this](TypeChange) { rewriter.reset(); }});
    rewriter->add(change(u"Job"_s, u"Club"_s), {});
    rewriter->finish();
    EXPECT_EQ(rewriter, nullptr);
}

TEST_F(TypeRewriterTest, DestroyedItLeavesTheRestUndone) {
    rewriter->add(change(u"Work"_s, u"Job"_s), telling());
    runFirstSlice();
    rewriter.reset();
    dispatch.advance(1);
    EXPECT_EQ(typesNewestFirst(), (QStringList{u"Job"_s, u"Work"_s, u"Work"_s}));

    rewriter = std::make_unique<TypeRewriter>(dispatch, clock);
    dispatch.holdBackground = true;
    rewriter->add(change(u"Work"_s, u"Club"_s), telling());
    rewriter.reset();
    dispatch.releaseBackground();
    dispatch.advance(1);
    EXPECT_EQ(told, QStringList{u"job 1/3"_s});
}

} // namespace
