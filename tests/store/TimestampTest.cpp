#include "store/Timestamp.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace store;

namespace {

const QTimeZone taipei("Asia/Taipei");
const QTimeZone berlin("Europe/Berlin");
const QTimeZone newYork("America/New_York");

QDateTime utc(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    return {QDate(year, month, day), QTime(hour, minute, second), Qt::UTC};
}

TEST(TimestampTest, ADateIsWrittenWithTheOffsetOfItsZone) {
    EXPECT_EQ(Timestamp::text(utc(2025, 3, 7, 1, 30, 12), taipei), u"2025-03-07T09:30:12+08:00"_s);
    EXPECT_EQ(Timestamp::text(utc(2025, 3, 7, 1, 30, 12), newYork), u"2025-03-06T20:30:12-05:00"_s);
    EXPECT_EQ(Timestamp::text(utc(2025, 3, 7, 1, 30, 12), QTimeZone("Asia/Kathmandu")), u"2025-03-07T07:15:12+05:45"_s);
}

TEST(TimestampTest, ZeroOffsetIsZ) {
    EXPECT_EQ(Timestamp::text(utc(2025, 3, 7, 1, 30, 12), QTimeZone::utc()), u"2025-03-07T01:30:12Z"_s);
    EXPECT_EQ(Timestamp::text(utc(2025, 1, 7), QTimeZone("Europe/London")), u"2025-01-07T00:00:00Z"_s);
    EXPECT_EQ(Timestamp::text(utc(2025, 7, 7), QTimeZone("Europe/London")), u"2025-07-07T01:00:00+01:00"_s);
}

TEST(TimestampTest, FractionsAreDropped) {
    EXPECT_EQ(Timestamp::text(utc(2025, 3, 7, 1, 30, 12).addMSecs(999), QTimeZone::utc()), u"2025-03-07T01:30:12Z"_s);
    EXPECT_EQ(Timestamp::text(utc(1969, 12, 31, 23, 59, 59).addMSecs(1), QTimeZone::utc()), u"1969-12-31T23:59:59Z"_s);
}

TEST(TimestampTest, TheHourThatDaylightSavingRepeatsIsToldApartByTheOffset) {
    EXPECT_EQ(Timestamp::text(utc(2025, 10, 26, 0, 30), berlin), u"2025-10-26T02:30:00+02:00"_s);
    EXPECT_EQ(Timestamp::text(utc(2025, 10, 26, 1, 30), berlin), u"2025-10-26T02:30:00+01:00"_s);
    EXPECT_EQ(Timestamp::parse(u"2025-10-26T02:30:00+02:00"), utc(2025, 10, 26, 0, 30));
    EXPECT_EQ(Timestamp::parse(u"2025-10-26T02:30:00+01:00"), utc(2025, 10, 26, 1, 30));
}

TEST(TimestampTest, YearsFarAwayComeBackAsTheyWent) {
    for (const QDateTime& date : {utc(1, 1, 2), utc(-44, 3, 15, 12), utc(1582, 10, 10), utc(1890, 6, 1, 3, 4, 5),
                                  utc(9999, 12, 31, 23, 59, 59), utc(10000, 1, 1), utc(123456, 7, 8)}) {
        for (const QTimeZone& zone : {QTimeZone::utc(), taipei, newYork}) {
            EXPECT_EQ(Timestamp::parse(Timestamp::text(date, zone)), date) << Timestamp::text(date, zone).toStdString();
        }
    }
}

TEST(TimestampTest, AYearHasAtLeastFourDigits) {
    EXPECT_EQ(Timestamp::text(utc(33, 4, 3), QTimeZone::utc()), u"0033-04-03T00:00:00Z"_s);
    EXPECT_EQ(Timestamp::text(utc(12025, 3, 7), QTimeZone::utc()), u"12025-03-07T00:00:00Z"_s);
    EXPECT_EQ(Timestamp::text(utc(-44, 3, 15), QTimeZone::utc()), u"-0044-03-15T00:00:00Z"_s);
}

TEST(TimestampTest, AnOffsetOfOddSecondsIsWrittenAndRead) {
    const QTimeZone odd(8 * 3600 + 5 * 60 + 43);
    EXPECT_EQ(Timestamp::text(utc(1899, 1, 1), odd), u"1899-01-01T08:05:43+08:05:43"_s);
    EXPECT_EQ(Timestamp::parse(u"1899-01-01T08:05:43+08:05:43"), utc(1899, 1, 1));
}

TEST(TimestampTest, AnInvalidDateHasNoText) {
    EXPECT_EQ(Timestamp::text(QDateTime(), taipei), QString());
}

TEST(TimestampTest, AnyZoneIsReadAsTheSameMoment) {
    const QDateTime moment = utc(2025, 3, 7, 1, 30, 12);
    EXPECT_EQ(Timestamp::parse(u"2025-03-07T09:30:12+08:00"), moment);
    EXPECT_EQ(Timestamp::parse(u"2025-03-06T20:30:12-05:00"), moment);
    EXPECT_EQ(Timestamp::parse(u"2025-03-07T01:30:12Z"), moment);
    EXPECT_EQ(Timestamp::parse(u"2025-03-07T01:30:12-00:00"), moment);
    EXPECT_EQ(Timestamp::parse(u"2025-03-08T01:29:12+23:59"), moment);
}

TEST(TimestampTest, AnyOtherFormIsNoDate) {
    for (const QString& text : {u""_s,
                                u"2025"_s,
                                u"2025-03-07"_s,
                                u"2025-03-07T09:30:12"_s,
                                u"2025-03-07 09:30:12+08:00"_s,
                                u"2025-03-07t09:30:12+08:00"_s,
                                u"2025-03-07T09:30:12z"_s,
                                u"2025-03-07T09:30+08:00"_s,
                                u"2025-03-07T09:30:12.5+08:00"_s,
                                u"2025-03-07T09:30:12,5Z"_s,
                                u"2025-03-07T09:30:12+0800"_s,
                                u"2025-03-07T09:30:12+08"_s,
                                u"2025-03-07T09:30:12+8:00"_s,
                                u" 2025-03-07T09:30:12Z"_s,
                                u"2025-03-07T09:30:12Z "_s,
                                u"2025-3-07T09:30:12Z"_s,
                                u"2025-03-7T09:30:12Z"_s,
                                u"25-03-07T09:30:12Z"_s,
                                u"+2025-03-07T09:30:12Z"_s,
                                u"20250307T093012Z"_s,
                                u"2025-03-07T093012Z"_s,
                                u"2025-W10-5T09:30:12Z"_s,
                                u"２０２５-03-07T09:30:12Z"_s,
                                u"2025-03-07T09:30:12+08:00:00:00"_s,
                                u"1234567-03-07T09:30:12Z"_s,
                                u"2025-03-07T09:30:12Z\n"_s}) {
        EXPECT_EQ(Timestamp::parse(text), std::nullopt) << text.toStdString();
    }
}

TEST(TimestampTest, EachFieldHasItsLimits) {
    EXPECT_TRUE(Timestamp::parse(u"2025-12-31T23:59:59+23:59:59"));
    EXPECT_TRUE(Timestamp::parse(u"2024-02-29T00:00:00Z"));
    EXPECT_TRUE(Timestamp::parse(u"999999-01-01T00:00:00Z"));
    for (const QString& text :
         {u"2025-13-01T00:00:00Z"_s, u"2025-00-01T00:00:00Z"_s, u"2025-12-32T00:00:00Z"_s, u"2025-12-00T00:00:00Z"_s,
          u"2025-02-29T00:00:00Z"_s, u"2025-04-31T00:00:00Z"_s, u"2025-12-31T24:00:00Z"_s, u"2025-12-31T23:60:00Z"_s,
          u"2025-12-31T23:59:60Z"_s, u"2025-12-31T23:59:59+24:00"_s, u"2025-12-31T23:59:59+23:60"_s,
          u"2025-12-31T23:59:59+23:59:60"_s, u"0000-01-01T00:00:00Z"_s}) {
        EXPECT_EQ(Timestamp::parse(text), std::nullopt) << text.toStdString();
    }
}

} // namespace
