#include "store/TypeColor.h"

#include <QStringList>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

TEST(TypeColor, RawValuesAndLabelsStandInTheirOrder) {
    QStringList raw;
    QStringList labels;
    for (const auto color : store::allTypeColors) {
        raw.append(store::rawValue(color));
        labels.append(store::label(color));
    }
    EXPECT_EQ(raw.join(u' '), u"blue green orange pink purple gray"_s);
    EXPECT_EQ(labels.join(u' '), u"藍 綠 橘 粉紅 紫 灰"_s);
}

TEST(TypeColor, IsFoundByItsRawValueAlone) {
    for (const auto color : store::allTypeColors) {
        EXPECT_EQ(store::typeColor(store::rawValue(color)), color);
    }
    EXPECT_EQ(store::typeColor(u"Blue"), std::nullopt);
    EXPECT_EQ(store::typeColor(u"teal"), std::nullopt);
    EXPECT_EQ(store::typeColor(u""), std::nullopt);
}

} // namespace
