#include "store/TypeError.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using store::TypeError;
using Kind = TypeError::Kind;

namespace {

TEST(TypeError, EachHasItsText) {
    EXPECT_EQ((TypeError{Kind::duplicate, u"Work"_s}.errorDescription()), u"已經有「Work」了"_s);
    EXPECT_EQ((TypeError{Kind::missing, u"Work"_s}.errorDescription()), u"找不到類型「Work」"_s);
    EXPECT_EQ((TypeError{Kind::unreadable, {}}.errorDescription()), u"types.json 讀不懂，先修好檔案再改類型"_s);
    EXPECT_EQ((TypeError{Kind::empty, {}}.errorDescription()), u"類型名稱不能是空的"_s);
    EXPECT_EQ((TypeError{Kind::reserved, {}}.errorDescription()), u"「未分類」是保留的名字"_s);
    EXPECT_EQ((TypeError{Kind::reservedPractice, {}}.errorDescription()), u"「練習」是保留的名字"_s);
}

TEST(TypeError, AFailureReadsAsTheListOrTheDiskSaysIt) {
    EXPECT_EQ(store::errorText(TypeError{Kind::empty, {}}), u"類型名稱不能是空的"_s);
    EXPECT_EQ(store::errorText(base::FileError{.text = u"no room"_s}), u"no room"_s);
}

} // namespace
