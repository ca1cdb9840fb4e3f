#include "store/MeetingNaming.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace store;

namespace {

const QTimeZone taipei("Asia/Taipei");
const QTimeZone berlin("Europe/Berlin");
const QDateTime start(QDate(2025, 3, 7), QTime(1, 30, 59), Qt::UTC);

QString between(QChar c) {
    return u"a"_s + c + u'b';
}

TEST(MeetingNamingTest, TheBaseNameIsTheStartMinuteInTheZone) {
    EXPECT_EQ(MeetingNaming::baseName(start, taipei), u"2025_03_07_0930"_s);
    EXPECT_EQ(MeetingNaming::baseName(start, QTimeZone("America/New_York")), u"2025_03_06_2030"_s);
    EXPECT_EQ(MeetingNaming::baseName(start, QTimeZone::utc()), u"2025_03_07_0130"_s);
}

TEST(MeetingNamingTest, FarYearsHaveABaseNameToo) {
    EXPECT_EQ(MeetingNaming::baseName(QDateTime(QDate(33, 4, 3), QTime(5, 6), Qt::UTC), QTimeZone::utc()),
              u"0033_04_03_0506"_s);
    EXPECT_EQ(MeetingNaming::baseName(QDateTime(QDate(12025, 4, 3), QTime(5, 6), Qt::UTC), QTimeZone::utc()),
              u"12025_04_03_0506"_s);
}

TEST(MeetingNamingTest, ABaseNameIsReadBackInItsZone) {
    const QDateTime minute = start.addSecs(-59);
    EXPECT_EQ(MeetingNaming::startFromBaseName(u"2025_03_07_0930", taipei), minute);
    EXPECT_EQ(MeetingNaming::startFromBaseName(u"2025_03_07_0930_weekly", taipei), minute);
    EXPECT_EQ(MeetingNaming::startFromBaseName(u"2025_03_07_0930x", taipei), minute);
}

TEST(MeetingNamingTest, WhatIsNoMinuteGivesNoStart) {
    for (const QString& name :
         {u""_s, u"x"_s, u"2025_03_07_093"_s, u"2025-03-07-0930"_s, u"2025_03_07 0930"_s, u"2025_13_07_0930"_s,
          u"2025_02_29_0930"_s, u"2025_03_07_2430"_s, u"2025_03_07_0960"_s, u"2025_3_07_09301"_s, u"0000_01_01_0000"_s,
          u"2025_03_07_-930"_s, u"２０２５_03_07_0930"_s, u"2025_03_07_0930\u0301"_s, u" 2025_03_07_0930"_s}) {
        EXPECT_EQ(MeetingNaming::startFromBaseName(name, taipei), std::nullopt) << name.toStdString();
    }
}

TEST(MeetingNamingTest, AMinuteThatDaylightSavingRepeatsIsTakenTheSecondTime) {
    const auto inBerlin = [](QStringView name) { return MeetingNaming::startFromBaseName(name, berlin).value(); };
    EXPECT_EQ(inBerlin(u"2025_10_26_0159"), QDateTime(QDate(2025, 10, 25), QTime(23, 59), Qt::UTC));
    EXPECT_EQ(inBerlin(u"2025_10_26_0200"), QDateTime(QDate(2025, 10, 26), QTime(1, 0), Qt::UTC));
    EXPECT_EQ(inBerlin(u"2025_10_26_0259"), QDateTime(QDate(2025, 10, 26), QTime(1, 59), Qt::UTC));
    EXPECT_EQ(inBerlin(u"2025_10_26_0300"), QDateTime(QDate(2025, 10, 26), QTime(2, 0), Qt::UTC));
}

TEST(MeetingNamingTest, AMinuteThatDaylightSavingSkipsStillGivesAMoment) {
    const auto inBerlin = [](QStringView name) { return MeetingNaming::startFromBaseName(name, berlin).value(); };
    EXPECT_EQ(inBerlin(u"2025_03_30_0159"), QDateTime(QDate(2025, 3, 30), QTime(0, 59), Qt::UTC));
    EXPECT_EQ(inBerlin(u"2025_03_30_0230"), QDateTime(QDate(2025, 3, 30), QTime(1, 30), Qt::UTC));
    EXPECT_EQ(inBerlin(u"2025_03_30_0300"), QDateTime(QDate(2025, 3, 30), QTime(1, 0), Qt::UTC));
}

TEST(MeetingNamingTest, EveryMinuteOfADayComesBackFromItsName) {
    const QDateTime midnight(QDate(2025, 6, 1), QTime(0, 0), Qt::UTC);
    for (int minute = 0; minute < 1440; ++minute) {
        const QDateTime moment = midnight.addSecs(60 * minute);
        EXPECT_EQ(MeetingNaming::startFromBaseName(MeetingNaming::baseName(moment, berlin), berlin), moment);
    }
}

TEST(MeetingNamingTest, SlugTurnsSeparatorsIntoSingleUnderscores) {
    EXPECT_EQ(MeetingNaming::slug(u"a / b"), u"a_b"_s);
    EXPECT_EQ(MeetingNaming::slug(u"a_b"), u"a_b"_s);
    EXPECT_EQ(MeetingNaming::slug(u"會議-週報"), u"會議_週報"_s);
    EXPECT_EQ(MeetingNaming::slug(u"weekly sync"), u"weekly_sync"_s);
    EXPECT_EQ(MeetingNaming::slug(u"a__b"), u"a_b"_s);
}

TEST(MeetingNamingTest, EverySeparatorSeparates) {
    const QString separators = u"/\\:*?\"<>|-\u2013\u2014_ \t\n\r\u000b\u000c\u0001\u007f"_s;
    for (const QChar c : separators) {
        EXPECT_EQ(MeetingNaming::slug(between(c)), u"a_b"_s) << int{c.unicode()};
    }
    for (const char16_t c : {u'\0', u'\x85', u'\x9f', u'\xa0', u'\u2003', u'\u2028', u'\u2029', u'\u3000'}) {
        EXPECT_EQ(MeetingNaming::slug(between(c)), u"a_b"_s) << int{c};
    }
}

TEST(MeetingNamingTest, OtherMarksStay) {
    const QString marks = u".,;!()[]{}'`~@#$%^&+=，。、：？／"_s;
    for (const QChar c : marks) {
        EXPECT_EQ(MeetingNaming::slug(between(c)), between(c)) << int{c.unicode()};
    }
}

TEST(MeetingNamingTest, SlugMakesNothingOfBlanksAlone) {
    EXPECT_EQ(MeetingNaming::slug(u""), QString());
    EXPECT_EQ(MeetingNaming::slug(u"  \t\n "), QString());
    EXPECT_EQ(MeetingNaming::slug(u"/-_"), QString());
    EXPECT_EQ(MeetingNaming::slug(u"..."), QString());
    EXPECT_EQ(MeetingNaming::slug(u" ... / "), QString());
}

TEST(MeetingNamingTest, SlugLosesLeadingDotsAlone) {
    EXPECT_EQ(MeetingNaming::slug(u"...hidden"), u"hidden"_s);
    EXPECT_EQ(MeetingNaming::slug(u"a.b."), u"a.b."_s);
}

TEST(MeetingNamingTest, AnUnderscoreBehindLeadingDotsStaysInFront) {
    EXPECT_EQ(MeetingNaming::slug(u".. hidden"), u"_hidden"_s);
    EXPECT_EQ(MeetingNaming::slug(u"._.x"), u"_.x"_s);
}

TEST(MeetingNamingTest, NoSeparatorLeadsOrTrails) {
    EXPECT_EQ(MeetingNaming::slug(u" - a - "), u"a"_s);
}

TEST(MeetingNamingTest, ANoteOfFortyOneCharactersKeepsForty) {
    const QString character = u"會"_s;
    EXPECT_EQ(MeetingNaming::slug(character.repeated(40)), character.repeated(40));
    EXPECT_EQ(MeetingNaming::slug(character.repeated(41)), character.repeated(40));
}

TEST(MeetingNamingTest, AnUnderscoreThatTheCutExposesGoesToo) {
    const QString a = u"a"_s;
    EXPECT_EQ(MeetingNaming::slug(QString(a.repeated(39) + u" b")), a.repeated(39));
    EXPECT_EQ(MeetingNaming::slug(QString(a.repeated(38) + u" b")), QString(a.repeated(38) + u"_b"));
}

TEST(MeetingNamingTest, CharactersAreWhatAPersonCounts) {
    for (const QString& character : {u"🇹🇼"_s, u"e\u0301"_s, u"👨‍👩‍👧"_s, u"𠀀"_s}) {
        EXPECT_EQ(MeetingNaming::slug(character.repeated(41)), character.repeated(40)) << character.toStdString();
    }
}

TEST(MeetingNamingTest, SeparatorsAreSingleScalars) {
    // The hyphen goes although the accent makes one character of both.
    EXPECT_EQ(MeetingNaming::slug(u"a-\u0301b"), u"a_\u0301b"_s);
}

TEST(MeetingNamingTest, HalfASurrogatePairIsNoCrash) {
    const QString half = u"a"_s + QChar(0xD83D) + u"b"_s;
    EXPECT_EQ(MeetingNaming::slug(half).size(), 3);
}

TEST(MeetingNamingTest, TheFolderNameHasTheNoteOrSaysThatThereIsNone) {
    EXPECT_EQ(MeetingNaming::folderName(start, u"weekly sync"_s, taipei), u"2025_03_07_0930_weekly_sync"_s);
    EXPECT_EQ(MeetingNaming::folderName(start, std::nullopt, taipei), u"2025_03_07_0930_未命名"_s);
    EXPECT_EQ(MeetingNaming::folderName(start, u"  "_s, taipei), u"2025_03_07_0930_未命名"_s);
    EXPECT_EQ(MeetingNaming::practiceFolderName(start, taipei), u"2025_03_07_0930_練習"_s);
}

TEST(MeetingNamingTest, APracticeFolderIsKnownByItsName) {
    EXPECT_TRUE(MeetingNaming::isPracticeFolder(u"2025_03_07_0930_練習"_s));
    EXPECT_TRUE(MeetingNaming::isPracticeFolder(u"2025_03_07_0930_練習_2"_s));
    EXPECT_TRUE(MeetingNaming::isPracticeFolder(u"2025_03_07_0930_練習_12"_s));
    for (const QString& name :
         {u"2025_03_07_0930_練習小組"_s, u"2025_03_07_0930_練習_"_s, u"2025_03_07_0930_練習_x"_s, u"2025_03_07_0930"_s,
          u"x2025_03_07_0930_練習"_s, u"2025_03_07_093_練習"_s, u"練習"_s}) {
        EXPECT_FALSE(MeetingNaming::isPracticeFolder(name)) << name.toStdString();
    }
}

TEST(MeetingNamingTest, AnUnfinishedFolderHasItsBaseNameAlone) {
    EXPECT_TRUE(MeetingNaming::isUnfinishedFolder(u"2025_03_07_0930"_s));
    EXPECT_TRUE(MeetingNaming::isUnfinishedFolder(u"2025_03_07_0930_2"_s));
    for (const QString& name :
         {u"2025_03_07_0930_未命名"_s, u"2025_03_07_0930_練習"_s, u"2025_03_07_0930_"_s, u"2025_03_07"_s,
          u"2025_03_07_0930_2_3"_s, u"2025_03_07_09300"_s, u"x_2025_03_07_0930"_s}) {
        EXPECT_FALSE(MeetingNaming::isUnfinishedFolder(name)) << name.toStdString();
    }
}

TEST(MeetingNamingTest, AShotIsNamedByItsSecondAndAttempt) {
    EXPECT_EQ(MeetingNaming::shotName(7, 1), u"shot_0007s.jpg"_s);
    EXPECT_EQ(MeetingNaming::shotName(7, 2), u"shot_0007s_2.jpg"_s);
    EXPECT_EQ(MeetingNaming::shotName(7, 0), u"shot_0007s.jpg"_s);
    EXPECT_EQ(MeetingNaming::shotName(0, 1), u"shot_0000s.jpg"_s);
    EXPECT_EQ(MeetingNaming::shotName(-3, 1), u"shot_0000s.jpg"_s);
    EXPECT_EQ(MeetingNaming::shotName(9999, 1), u"shot_9999s.jpg"_s);
    EXPECT_EQ(MeetingNaming::shotName(12345, 1), u"shot_12345s.jpg"_s);
}

TEST(MeetingNamingTest, TheFirstFreeNameIsTaken) {
    const std::filesystem::path folder = "/meetings";
    std::vector<std::filesystem::path> asked;
    const auto unique = [&](std::size_t taken) {
        asked.clear();
        return MeetingNaming::uniqueURL(folder, u"name"_s, [&](const std::filesystem::path& path) {
            asked.push_back(path);
            return asked.size() <= taken;
        });
    };
    EXPECT_EQ(unique(0), folder / "name");
    EXPECT_EQ(unique(1), folder / "name_2");
    EXPECT_EQ(unique(2), folder / "name_3");
    EXPECT_EQ(asked, (std::vector{folder / "name", folder / "name_2", folder / "name_3"}));
}

} // namespace
