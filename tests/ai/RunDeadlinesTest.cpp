#include "ai/ProcessRunner.h"
#include "ai/RunDeadlines_p.h"

#include <gtest/gtest.h>

#include <cmath>

using ai::ProcessRunner;
using ai::RunDeadlines;
using Action = RunDeadlines::Action;

namespace {

constexpr double launched = 100.0;
constexpr RunDeadlines::Limits usual{.killAfter = ProcessRunner::killAfterSeconds,
                                     .drain = ProcessRunner::drainSeconds};
constexpr double infinity = std::numeric_limits<double>::infinity();

double justBefore(double moment) {
    return std::nextafter(moment, 0.0);
}

} // namespace

TEST(RunDeadlinesTest, NothingIsDueBeforeTheTimeoutAndTermIsDueAtIt) {
    RunDeadlines run(launched, 20.0, usual);
    EXPECT_EQ(run.nextChange(), 120.0);
    EXPECT_EQ(run.next(justBefore(120.0)), Action::Wait);
    EXPECT_FALSE(run.timedOut());
    EXPECT_EQ(run.next(120.0), Action::Terminate);
    EXPECT_TRUE(run.timedOut());
    EXPECT_EQ(run.next(120.0), Action::Wait) << "once";
}

TEST(RunDeadlinesTest, KillIsDueFiveSecondsAfterTerm) {
    RunDeadlines run(launched, 20.0, usual);
    ASSERT_EQ(run.next(120.0), Action::Terminate);
    EXPECT_EQ(run.nextChange(), 125.0);
    EXPECT_EQ(run.next(justBefore(125.0)), Action::Wait);
    EXPECT_EQ(run.next(125.0), Action::Kill);
    EXPECT_EQ(run.next(200.0), Action::Wait) << "once";
    EXPECT_EQ(run.nextChange(), infinity) << "only the child's end counts now";
}

TEST(RunDeadlinesTest, ATimeoutOfZeroOrLessIsDueAtOnce) {
    for (const double timeout : {0.0, -1.0, std::nan("")}) {
        RunDeadlines run(launched, timeout, usual);
        EXPECT_EQ(run.next(launched), Action::Terminate) << timeout;
        EXPECT_TRUE(run.timedOut());
    }
}

TEST(RunDeadlinesTest, AnEndlessTimeoutIsNeverDue) {
    RunDeadlines run(launched, infinity, usual);
    EXPECT_EQ(run.next(1e300), Action::Wait);
}

TEST(RunDeadlinesTest, ACancelIsDueAtOnceAndKillsFiveSecondsLater) {
    RunDeadlines run(launched, 600.0, usual);
    run.cancelled();
    EXPECT_EQ(run.next(110.0), Action::Terminate);
    EXPECT_FALSE(run.timedOut());
    EXPECT_EQ(run.next(justBefore(115.0)), Action::Wait);
    EXPECT_EQ(run.next(115.0), Action::Kill);
}

TEST(RunDeadlinesTest, ATimeoutDuringACancelIsNotedWithoutASecondTerm) {
    RunDeadlines run(launched, 12.0, usual);
    run.cancelled();
    ASSERT_EQ(run.next(110.0), Action::Terminate);
    EXPECT_EQ(run.nextChange(), 112.0);
    EXPECT_EQ(run.next(112.0), Action::Wait);
    EXPECT_TRUE(run.timedOut());
    EXPECT_EQ(run.nextChange(), 115.0);
    EXPECT_EQ(run.next(115.0), Action::Kill);
}

TEST(RunDeadlinesTest, AfterTheEndTheStreamsAreHeardForFiveSeconds) {
    RunDeadlines run(launched, 20.0, usual);
    run.exited(110.0);
    EXPECT_EQ(run.nextChange(), 115.0);
    EXPECT_EQ(run.next(justBefore(115.0)), Action::Wait);
    EXPECT_EQ(run.next(115.0), Action::Finish);
}

TEST(RunDeadlinesTest, TheTimeoutNoLongerCountsAfterTheEnd) {
    RunDeadlines run(launched, 12.0, usual);
    run.exited(110.0);
    EXPECT_EQ(run.next(114.0), Action::Wait);
    EXPECT_FALSE(run.timedOut());
}

TEST(RunDeadlinesTest, AStoppedRunIsOverWithTheChild) {
    RunDeadlines timedOut(launched, 0.0, usual);
    ASSERT_EQ(timedOut.next(launched), Action::Terminate);
    timedOut.exited(launched);
    EXPECT_EQ(timedOut.next(launched), Action::Finish);

    RunDeadlines cancelledWhileListening(launched, 20.0, usual);
    cancelledWhileListening.exited(110.0);
    cancelledWhileListening.cancelled();
    EXPECT_EQ(cancelledWhileListening.next(110.0), Action::Finish);
}
