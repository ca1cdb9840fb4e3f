#include "capture/HealthCheck.h"

#include <gtest/gtest.h>

namespace capture::HealthCheck {
namespace {

using namespace Qt::StringLiterals;

const QString micSilent = u"我的麥克風沒有聲音"_s;
const QString systemSilent = u"對方的聲音沒有進來"_s;

const TrackHealth alive{3, std::nullopt};
const TrackHealth empty{0, std::nullopt};
const TrackHealth failing{3, u"disk full"_s};
const TrackHealth emptyAndFailing{0, u"disk full"_s};

TEST(HealthCheck, TheFirstPeriodHoldsAllBuffers) {
    EXPECT_EQ(window({7, std::nullopt}, std::nullopt), (TrackHealth{7, std::nullopt}));
}

TEST(HealthCheck, APeriodHoldsWhatCameSinceTheOneBefore) {
    EXPECT_EQ(window({7, std::nullopt}, TrackHealth{5, std::nullopt}), (TrackHealth{2, std::nullopt}));
    EXPECT_EQ(window({7, std::nullopt}, TrackHealth{7, std::nullopt}), empty);
}

TEST(HealthCheck, ACountThatWentBackIsNoBuffers) {
    EXPECT_EQ(window({7, std::nullopt}, TrackHealth{8, std::nullopt}), empty);
}

TEST(HealthCheck, TheErrorOfAPeriodIsTheOneOfNow) {
    EXPECT_EQ(window({7, u"now"_s}, TrackHealth{5, u"before"_s}).error, u"now"_s);
    EXPECT_EQ(window({7, std::nullopt}, TrackHealth{5, u"before"_s}).error, std::nullopt);
    EXPECT_EQ(window({7, u"now"_s}, std::nullopt).error, u"now"_s);
}

TEST(HealthCheck, AnEmptyTrackIsAProblemOnlyAfterTheGrace) {
    EXPECT_EQ(problems(4.9, empty, empty), QStringList());
    EXPECT_EQ(problems(5.0, empty, empty), (QStringList{micSilent, systemSilent}));
    EXPECT_EQ(problems(5.0, empty, alive), QStringList{micSilent});
    EXPECT_EQ(problems(5.0, alive, empty), QStringList{systemSilent});
}

TEST(HealthCheck, OneBufferIsEnough) {
    EXPECT_EQ(problems(60.0, TrackHealth{1, std::nullopt}, TrackHealth{1, std::nullopt}), QStringList());
}

TEST(HealthCheck, AnErrorIsAProblemAtOnceAndOutranksSilence) {
    EXPECT_EQ(problems(0.0, failing, alive), QStringList{u"我的錄音寫入出錯：disk full"_s});
    EXPECT_EQ(problems(0.0, alive, failing), QStringList{u"對方的錄音寫入出錯：disk full"_s});
    EXPECT_EQ(problems(60.0, emptyAndFailing, emptyAndFailing),
              (QStringList{u"我的錄音寫入出錯：disk full"_s, u"對方的錄音寫入出錯：disk full"_s}));
}

TEST(HealthCheck, AnErrorKeepsItsTextWhateverItHolds) {
    EXPECT_EQ(problems(0.0, TrackHealth{1, u"%@ %1 100%"_s}, std::nullopt),
              QStringList{u"我的錄音寫入出錯：%@ %1 100%"_s});
    EXPECT_EQ(problems(0.0, TrackHealth{1, u""_s}, std::nullopt), QStringList{u"我的錄音寫入出錯："_s});
}

TEST(HealthCheck, WithoutASystemTrackThereIsNoSystemWarning) {
    EXPECT_EQ(problems(60.0, empty, std::nullopt), QStringList{micSilent});
    EXPECT_EQ(problems(60.0, alive, std::nullopt), QStringList());
}

TEST(HealthCheck, WhatNoLongerAppliesIsResolvedInOrder) {
    EXPECT_EQ(resolved({}, {u"a"_s}), QStringList());
    EXPECT_EQ(resolved({u"c"_s, u"a"_s, u"b"_s}, {}), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
    EXPECT_EQ(resolved({u"c"_s, u"a"_s, u"b"_s}, {u"b"_s, u"z"_s}), (QStringList{u"a"_s, u"c"_s}));
    EXPECT_EQ(resolved({u"a"_s}, {u"a"_s}), QStringList());
}

} // namespace
} // namespace capture::HealthCheck
