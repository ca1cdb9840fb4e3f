#include "entry/StatusItemPrefs.h"

#include "fakes/QtPrinters.h"
#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

namespace entry {
namespace {

using namespace Qt::StringLiterals;

class StatusItemPrefsTest : public testing::Test {
protected:
    /// Whether the value is still there after the repair.
    bool survives(const base::Json& value) {
        defaults.set(key, value);
        StatusItemPrefs::repairHidden(defaults);
        return defaults.value(key).has_value();
    }

    fakes::TemporaryFolder folder;
    base::PreferenceStore defaults{folder / "preferences.json"};
    QString key = StatusItemPrefs::realVisibleKey.toString();
};

TEST_F(StatusItemPrefsTest, ItsKeysAreThoseOfThePlatform) {
    EXPECT_EQ(StatusItemPrefs::realVisibleKey, u"NSStatusItem VisibleCC Item-0");
    EXPECT_EQ(StatusItemPrefs::testKeys[0], u"NSStatusItem VisibleCC TarvexTest");
    EXPECT_EQ(StatusItemPrefs::testKeys[1], u"NSStatusItem Preferred Position TarvexTest");
}

TEST_F(StatusItemPrefsTest, AHiddenItemIsBroughtBack) {
    EXPECT_FALSE(survives(base::Json::integer(0)));
    EXPECT_FALSE(survives(false));
    EXPECT_FALSE(survives(base::Json::number(0.9))); // its whole part is 0
}

TEST_F(StatusItemPrefsTest, AVisibleItemAndAMissingKeyAreLeftAlone) {
    EXPECT_TRUE(survives(base::Json::integer(1)));
    EXPECT_TRUE(survives(true));
    EXPECT_TRUE(survives(base::Json::integer(-1)));
    defaults.remove(key);
    StatusItemPrefs::repairHidden(defaults);
    EXPECT_FALSE(defaults.value(key).has_value());
}

TEST_F(StatusItemPrefsTest, WhatIsNoNumberIsLeftAlone) {
    EXPECT_TRUE(survives(u"0"_s));
}

TEST_F(StatusItemPrefsTest, ATestForgetsItsOwnKeysAlone) {
    for (const auto testKey : StatusItemPrefs::testKeys) {
        defaults.set(testKey.toString(), base::Json::integer(1));
    }
    defaults.set(key, base::Json::integer(1));
    StatusItemPrefs::forgetTest(defaults);
    for (const auto testKey : StatusItemPrefs::testKeys) {
        EXPECT_FALSE(defaults.value(testKey.toString()).has_value());
    }
    EXPECT_TRUE(defaults.value(key).has_value());
}

TEST_F(StatusItemPrefsTest, ForgettingNothingWritesNothing) {
    StatusItemPrefs::forgetTest(defaults);
    EXPECT_FALSE(base::fs::exists(defaults.file()));
}

} // namespace
} // namespace entry
