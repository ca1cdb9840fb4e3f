#include "base/PreferenceStore.h"

#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

using namespace base;
using namespace Qt::StringLiterals;

namespace {

class PreferenceStoreTest : public testing::Test {
protected:
    fakes::TemporaryFolder folder;
    fs::path file = folder / "config" / "suite.json";
    PreferenceStore store{file};
};

TEST_F(PreferenceStoreTest, ValuesKeepTheirTypesAcrossARelaunch) {
    store.set(u"list"_s, Json(QStringList{u"Ann"_s}));
    store.set(u"flag"_s, Json(false));
    store.set(u"number"_s, Json::number(1.5));
    store.set(u"text"_s, Json(u"1"_s));
    const PreferenceStore again(file);
    EXPECT_EQ(again.stringList(u"list"_s), QStringList{u"Ann"_s});
    EXPECT_FALSE(again.boolean(u"flag"_s, true));
    EXPECT_EQ(again.number(u"number"_s), 1.5);
    EXPECT_EQ(again.string(u"text"_s), u"1"_s);
    EXPECT_EQ(again.number(u"text"_s), std::nullopt);
}

TEST_F(PreferenceStoreTest, DefaultsCountWhileNothingIsStoredAndAreNotWritten) {
    store.registerDefault(u"on"_s, Json(true));
    EXPECT_TRUE(store.boolean(u"on"_s));
    EXPECT_FALSE(fs::exists(file));
    store.set(u"on"_s, Json(false));
    EXPECT_FALSE(store.boolean(u"on"_s));
    store.remove(u"on"_s);
    EXPECT_TRUE(store.boolean(u"on"_s));
}

TEST_F(PreferenceStoreTest, ANullWrittenByHandIsNothingStored) {
    store.registerDefault(u"on"_s, Json(true));
    store.set(u"other"_s, Json(true));
    ASSERT_TRUE(replaceFile(file, R"({"on": null})"));
    EXPECT_TRUE(store.boolean(u"on"_s));
    EXPECT_EQ(store.value(u"nothing"_s), std::nullopt);
}

TEST_F(PreferenceStoreTest, ANumberCountsAsABoolean) {
    store.set(u"a"_s, Json::integer(0));
    store.set(u"b"_s, Json::integer(1));
    EXPECT_FALSE(store.boolean(u"a"_s, true));
    EXPECT_TRUE(store.boolean(u"b"_s));
    store.set(u"b"_s, Json(u"yes"_s));
    EXPECT_TRUE(store.boolean(u"b"_s, true));
}

TEST_F(PreferenceStoreTest, KeysOfOthersStay) {
    ASSERT_TRUE(makeFolders(file.parent_path()));
    ASSERT_TRUE(replaceFile(file, R"({"future":1.10,"mine":1})"));
    store.set(u"mine"_s, Json::integer(2));
    EXPECT_EQ(writeCompactJson(parseJson(readFile(file).value()).value()), R"({"future":1.10,"mine":2})");
}

TEST_F(PreferenceStoreTest, AnotherProcessesChangeOfAnotherKeyStays) {
    store.set(u"a"_s, Json::integer(1));
    PreferenceStore other(file);
    other.set(u"b"_s, Json::integer(2));
    store.set(u"a"_s, Json::integer(3));
    EXPECT_EQ(other.number(u"a"_s), 3);
    EXPECT_EQ(store.number(u"b"_s), 2);
}

TEST_F(PreferenceStoreTest, ADamagedFileIsSetAsideBeforeTheFirstWrite) {
    ASSERT_TRUE(makeFolders(file.parent_path()));
    for (const char* damaged : {"{\"a\":", "[1]", "\xFF"}) {
        ASSERT_TRUE(replaceFile(file, damaged));
        EXPECT_EQ(store.value(u"a"_s), std::nullopt);
        store.set(u"a"_s, Json::integer(1));
        EXPECT_EQ(store.number(u"a"_s), 1);
        EXPECT_EQ(readFile(fs::path(file.string() + ".damaged")), QByteArray(damaged));
        fs::remove(file);
    }
}

TEST_F(PreferenceStoreTest, WhatTheDiskRefusesCountsForThisRun) {
    ASSERT_TRUE(replaceFile(folder / "config", "in the way"));
    store.set(u"a"_s, Json::integer(1));
    EXPECT_EQ(store.number(u"a"_s), 1);
    fs::remove(folder / "config");
    store.set(u"b"_s, Json::integer(2));
    EXPECT_EQ(PreferenceStore(file).number(u"a"_s), 1);
}

} // namespace
