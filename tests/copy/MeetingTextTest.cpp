#include "copy/MeetingText.h"

#include <gtest/gtest.h>

#include <limits>

using namespace copy;
using namespace Qt::StringLiterals;

namespace {

const QTimeZone taipei("Asia/Taipei");

QDateTime at(int year, int month, int day, int hour = 9, int minute = 30) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute), taipei);
}

class MeetingTextTest : public testing::Test {
protected:
    MeetingText::Calendar calendar{taipei};
    QDateTime now = at(2025, 3, 13, 12, 0); // a Thursday

    [[nodiscard]] QString group(const std::optional<QDateTime>& date) const {
        return MeetingText::groupTitle(date, now, calendar);
    }

    [[nodiscard]] QString row(const std::optional<QDateTime>& date) const {
        return MeetingText::rowTime(date, now, calendar);
    }
};

TEST_F(MeetingTextTest, SectionsFollowTheDistanceFromNow) {
    EXPECT_EQ(group(std::nullopt), u"沒有日期"_s);
    EXPECT_EQ(group(at(2025, 3, 13, 0, 0)), u"今天"_s);
    EXPECT_EQ(group(at(2025, 3, 13, 23, 59)), u"今天"_s);
    EXPECT_EQ(group(at(2025, 3, 12)), u"昨天"_s);
    EXPECT_EQ(group(at(2025, 3, 11)), u"這週"_s);
    EXPECT_EQ(group(at(2025, 3, 10, 0, 0)), u"這週"_s);
    EXPECT_EQ(group(at(2025, 3, 9, 23, 59)), u"2025 年 3 月"_s);
    EXPECT_EQ(group(at(2024, 12, 1)), u"2024 年 12 月"_s);
}

TEST_F(MeetingTextTest, AFutureDateHasTheMonthForm) {
    EXPECT_EQ(group(at(2025, 3, 14)), u"2025 年 3 月"_s);
    EXPECT_EQ(row(at(2025, 3, 14)), u"3/14 09:30"_s);
    EXPECT_EQ(group(at(2025, 3, 13, 23, 0)), u"今天"_s); // later on the same day is still that day
}

TEST_F(MeetingTextTest, ASundayBeforeAMondayIsInThePreviousWeek) {
    now = at(2025, 3, 11, 12, 0); // Tuesday
    EXPECT_EQ(row(at(2025, 3, 9)), u"3/9 09:30"_s);
    now = at(2025, 3, 16, 12, 0); // Sunday: the last day of the week that began on the 10th
    EXPECT_EQ(row(at(2025, 3, 10)), u"週一 09:30"_s);
}

TEST_F(MeetingTextTest, AWeekMayCrossTheYear) {
    now = at(2025, 1, 2, 12, 0);
    EXPECT_EQ(group(at(2024, 12, 30)), u"這週"_s);
}

TEST_F(MeetingTextTest, RowTimesAreAsShortAsTheirSectionAllows) {
    EXPECT_EQ(row(std::nullopt), u""_s);
    EXPECT_EQ(row(at(2025, 3, 13, 9, 5)), u"09:05"_s);
    EXPECT_EQ(row(at(2025, 3, 12, 18, 0)), u"18:00"_s);
    EXPECT_EQ(row(at(2025, 3, 11)), u"週二 09:30"_s);
    EXPECT_EQ(row(at(2025, 2, 1)), u"2/1 09:30"_s);
}

TEST_F(MeetingTextTest, DaysAreThoseOfTheCalendarsZone) {
    const QDateTime utc(QDate(2025, 3, 12), QTime(17, 0), Qt::UTC); // the 13th in Taipei
    EXPECT_EQ(group(utc), u"今天"_s);
    EXPECT_EQ(row(utc), u"01:00"_s);
}

TEST_F(MeetingTextTest, WeekdaysBeginWithMonday) {
    EXPECT_EQ(MeetingText::weekday(at(2025, 3, 10), calendar), u"週一"_s);
    EXPECT_EQ(MeetingText::weekday(at(2025, 3, 16), calendar), u"週日"_s);
    EXPECT_EQ(MeetingText::infoDate(at(2025, 3, 7), calendar), u"3/7 週五 09:30"_s);
}

TEST_F(MeetingTextTest, DetailsLeaveOutWhatIsUnknown) {
    EXPECT_EQ(MeetingText::sideDetail(at(2025, 3, 7), 2700.0, calendar),
              QString(u"3/7 09:30 · "_s + MainCopy::zh.minutesShort(45)));
    EXPECT_EQ(MeetingText::sideDetail(at(2025, 3, 7), 0.0, calendar), u"3/7 09:30"_s);
    EXPECT_EQ(MeetingText::sideDetail(std::nullopt, 5.0, calendar), MainCopy::zh.secondsShort(5));
    EXPECT_EQ(MeetingText::sideDetail(std::nullopt, std::nullopt, calendar), u""_s);
    EXPECT_EQ(MeetingText::practiceTitle(std::nullopt, std::nullopt, calendar), u"練習"_s);
    EXPECT_EQ(MeetingText::practiceTitle(at(2025, 3, 7), std::nullopt, calendar), u"練習 · 3/7 09:30"_s);
}

TEST_F(MeetingTextTest, ShortDurationsRoundTwice) {
    const auto text = [](double seconds) { return MeetingText::shortDuration(seconds, MainCopy::en); };
    EXPECT_EQ(text(-5), MainCopy::en.secondsShort(0));
    EXPECT_EQ(text(0), MainCopy::en.secondsShort(0));
    EXPECT_EQ(text(0.4), MainCopy::en.secondsShort(0));
    EXPECT_EQ(text(0.5), MainCopy::en.secondsShort(1));
    EXPECT_EQ(text(std::numeric_limits<double>::quiet_NaN()), MainCopy::en.secondsShort(0));
    EXPECT_EQ(text(59.4), MainCopy::en.secondsShort(59));
    EXPECT_EQ(text(59.6), MainCopy::en.minutesShort(1));
    EXPECT_EQ(text(89), MainCopy::en.minutesShort(1));
    EXPECT_EQ(text(90), MainCopy::en.minutesShort(2));
    EXPECT_EQ(text(3569), MainCopy::en.minutesShort(59));
    EXPECT_EQ(text(3599), MainCopy::en.hoursShort(1, 0));
    EXPECT_EQ(text(7260), MainCopy::en.hoursShort(2, 1));
    EXPECT_FALSE(text(1e300).isEmpty());
}

TEST_F(MeetingTextTest, AtADateThatDoesNotExistNothingBreaks) {
    EXPECT_EQ(MeetingText::weekday(QDateTime(), calendar), u""_s);
}

TEST_F(MeetingTextTest, FourPeopleAreTwoNamesAndTheirCount) {
    EXPECT_EQ(MeetingText::people({}), u""_s);
    EXPECT_EQ(MeetingText::people({u"A"_s, u"B"_s, u"C"_s}), u"A、B、C"_s);
    EXPECT_EQ(MeetingText::people({u"A"_s, u"B"_s, u"C"_s, u"D"_s}), u"A、B 等 4 人"_s);
}

} // namespace
