#include "store/MeetingShot.h"

#include "store/MeetingNaming.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using store::MeetingShot;

namespace {

TEST(MeetingShotTest, TheSecondsStandInTheName) {
    EXPECT_EQ(MeetingShot::secondsFromName(u"shot_0030s.jpg"), 30);
    EXPECT_EQ(MeetingShot::secondsFromName(u"shot_0030s_2.jpg"), 30);
    EXPECT_EQ(MeetingShot::secondsFromName(u"shot_12345s.jpg"), 12345);
    EXPECT_EQ(MeetingShot::secondsFromName(u"shot_7s anything.jpg"), 7);
    EXPECT_EQ(MeetingShot::secondsFromName(u"shot_9223372036854775807s.jpg"), 9223372036854775807);
}

TEST(MeetingShotTest, TheEndingIsNotToldByCaseButTheBeginningIs) {
    EXPECT_EQ(MeetingShot::secondsFromName(u"shot_0001s.JPG"), 1);
    EXPECT_EQ(MeetingShot::secondsFromName(u"SHOT_0001s.JPG"), std::nullopt);
    EXPECT_EQ(MeetingShot::secondsFromName(u"shot_0001S.jpg"), std::nullopt);
}

TEST(MeetingShotTest, ANameOfAnotherShapeIsNoShot) {
    for (const QString& name :
         {u""_s, u"shot_"_s, u".jpg"_s, u"shot.jpg"_s, u"shot_.jpg"_s, u"shot_s.jpg"_s, u"shot_12.jpg"_s,
          u"shot_12s.jpeg"_s, u"shot_12s.png"_s, u"shot_12s"_s, u"shot_1 2s.jpg"_s, u"shot_ 12s.jpg"_s,
          u"shot_１２s.jpg"_s, u"shot_0x1s.jpg"_s, u"shot_1.5s.jpg"_s, u".shot_0001s.jpg"_s, u"xshot_0001s.jpg"_s,
          u"shot_9223372036854775808s.jpg"_s, u"shot_jpgs"_s}) {
        EXPECT_EQ(MeetingShot::secondsFromName(name), std::nullopt) << name.toStdString();
    }
}

TEST(MeetingShotTest, EveryNameThatIsGivenIsReadBack) {
    for (const int seconds : {0, 1, 30, 9999, 10000, 360000}) {
        for (const int attempt : {1, 2, 10}) {
            EXPECT_EQ(MeetingShot::secondsFromName(store::MeetingNaming::shotName(seconds, attempt)), seconds);
        }
    }
}

} // namespace
