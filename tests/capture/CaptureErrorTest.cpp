#include "capture/CaptureError.h"

#include <gtest/gtest.h>

namespace capture {
namespace {

using namespace Qt::StringLiterals;

TEST(CaptureError, EachKindHasTheTextThatTheUserReads) {
    EXPECT_EQ((CaptureError{CaptureError::Kind::CannotUse, u"Device busy"_s}).text(), u"麥克風開不了：Device busy"_s);
    EXPECT_EQ((CaptureError{CaptureError::Kind::NoMicrophone, {}}).text(), u"麥克風開不了：找不到麥克風"_s);
    EXPECT_EQ((CaptureError{CaptureError::Kind::Timeout, {}}).text(), u"麥克風開不了：等了 45 秒還沒打開"_s);
}

TEST(CaptureError, AReasonKeepsItsTextWhateverItHolds) {
    EXPECT_EQ((CaptureError{CaptureError::Kind::CannotUse, u"%@ %1"_s}).text(), u"麥克風開不了：%@ %1"_s);
}

TEST(CaptureError, OnlyCannotUseSpeaksOfItsReason) {
    EXPECT_EQ((CaptureError{CaptureError::Kind::NoMicrophone, u"ignored"_s}).text(), u"麥克風開不了：找不到麥克風"_s);
}

} // namespace
} // namespace capture
