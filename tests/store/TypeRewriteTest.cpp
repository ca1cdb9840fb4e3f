#include "store/TypeRewrite.h"

#include "fakes/TemporaryFolder.h"
#include "store/MeetingFolders.h"
#include "store/TypeStore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using namespace Qt::StringLiterals;
using store::TypeChange;
using store::TypeRename;
using store::TypeStore;
namespace TypeRewrite = store::TypeRewrite;

namespace {

class TypeRewriteTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(base::replaceFile(types.url(), store::TypesFile{{{u"Work"_s, u"blue"_s}}}.data()));
    }

    [[nodiscard]] TypeRename rename() const { return {meetings.path, u"Work"_s, u"Job"_s}; }

    fakes::TemporaryFolder folder;
    fakes::MeetingFolders meetings{folder / "meetings"};
    TypeStore types{folder / "types.json"};
};

TEST_F(TypeRewriteTest, FindsTheMeetingsOfExactlyThatTypeNewestFirst) {
    meetings.add("2025_03_07_0930_a", u"Work"_s);
    meetings.add("2025_03_09_0930_b", u"Work"_s);
    meetings.add("2025_03_08_0930_c", u"work"_s);
    meetings.add("2025_03_08_0930_d", std::nullopt);
    const auto found = TypeRewrite::meetings(rename());
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].folder.filename(), "2025_03_09_0930_b");
    EXPECT_EQ(found[1].folder.filename(), "2025_03_07_0930_a");
}

TEST_F(TypeRewriteTest, RenamingATypeRewritesItsMeetingsAndNothingElseInThem) {
    meetings.add("2025_03_07_0930_a", u"Work"_s);
    meetings.add("2025_03_07_1030_b", u"Home"_s);
    const auto other = meetings.meta("2025_03_07_1030_b");
    EXPECT_EQ(types.rename(u"Work"_s, u"Job"_s, meetings.path).value(), (TypeChange{1, 0}));
    EXPECT_EQ(meetings.meta("2025_03_07_0930_a"), "{\n  \"ours\" : 1,\n  \"type\" : \"Job\"\n}");
    EXPECT_EQ(meetings.meta("2025_03_07_1030_b"), other);
}

TEST_F(TypeRewriteTest, RenamingToAnotherCaseRewritesTheMeetings) {
    meetings.add("2025_03_07_0930_a", u"Work"_s);
    EXPECT_EQ(types.rename(u"Work"_s, u"WORK"_s, meetings.path).value(), (TypeChange{1, 0}));
    EXPECT_EQ(meetings.type("2025_03_07_0930_a"), u"WORK"_s);
}

TEST_F(TypeRewriteTest, RenamingToTheSameNameTouchesNoMeeting) {
    meetings.write("2025_03_07_0930_a", R"({"type":"Work"})");
    EXPECT_EQ(types.rename(u"Work"_s, u"Work"_s, meetings.path).value(), (TypeChange{0, 0}));
    EXPECT_EQ(meetings.meta("2025_03_07_0930_a"), R"({"type":"Work"})");
}

TEST_F(TypeRewriteTest, ARefusedRenameTouchesNoMeeting) {
    meetings.add("2025_03_07_0930_a", u"Work"_s);
    ASSERT_TRUE(types.add(u"Home"_s));
    EXPECT_FALSE(types.rename(u"Work"_s, u"HOME"_s, meetings.path));
    EXPECT_FALSE(types.rename(u"Work"_s, u" "_s, meetings.path));
    EXPECT_FALSE(types.remove(u"Club"_s, meetings.path));
    EXPECT_EQ(meetings.type("2025_03_07_0930_a"), u"Work"_s);
}

TEST_F(TypeRewriteTest, RemovingATypeLeavesItsMeetingsUncategorized) {
    meetings.add("2025_03_07_0930_a", u"Work"_s);
    EXPECT_EQ(types.remove(u"Work"_s, meetings.path).value(), (TypeChange{1, 0}));
    EXPECT_EQ(meetings.meta("2025_03_07_0930_a"), "{\n  \"ours\" : 1,\n  \"type\" : null\n}");
}

TEST_F(TypeRewriteTest, WithoutMeetingsNothingIsCounted) {
    EXPECT_EQ(types.rename(u"Work"_s, u"Job"_s, folder / "none").value(), (TypeChange{0, 0}));
}

TEST_F(TypeRewriteTest, AMeetingThatIsNotUnderstoodIsNoneOfTheType) {
    meetings.write("2025_03_07_0930_a", R"({"type":"Work")");
    meetings.write("2025_03_07_0930_b", R"(["Work"])");
    EXPECT_EQ(TypeRewrite::run(rename()), (TypeChange{0, 0}));
    EXPECT_EQ(meetings.meta("2025_03_07_0930_a"), R"({"type":"Work")");
}

TEST_F(TypeRewriteTest, AMeetingDamagedSinceItWasListedIsCountedAsFailedAndLeftAlone) {
    meetings.add("2025_03_07_0930_a", u"Work"_s);
    const auto found = TypeRewrite::meetings(rename());
    meetings.write("2025_03_07_0930_a", "{");
    TypeChange change;
    TypeRewrite::rewrite(found.front(), rename(), change);
    EXPECT_EQ(change, (TypeChange{0, 1}));
    EXPECT_EQ(meetings.meta("2025_03_07_0930_a"), "{");
}

// A meeting so deep in folders that its meta.json has a path and the longer name of a temporary file beside it has
// none: the plainest file that can be read and not be replaced, whoever runs the test.
TEST_F(TypeRewriteTest, AMeetingThatCantBeWrittenIsCountedAndTheOthersGoOn) {
    constexpr std::size_t longestPath = 4095;
    auto deep = folder / "deep";
    while (deep.native().size() < longestPath - 320) {
        deep /= std::string(200, 'd');
    }
    const fakes::MeetingFolders far(deep);
    const auto metaAtTheEdge = longestPath - deep.native().size() - std::string("//meta.json").size();
    const std::string edge = "2025_03_08_0930_" + std::string(metaAtTheEdge - 16, 'e');
    far.add("2025_03_09_0930_a", u"Work"_s);
    base::fs::create_directories(deep / edge);
    base::fs::copy_file(deep / "2025_03_09_0930_a" / "meta.json", deep / edge / "meta.json");
    far.add("2025_03_07_0930_c", u"Work"_s);

    EXPECT_EQ(types.rename(u"Work"_s, u"Job"_s, deep).value(), (TypeChange{2, 1}));
    EXPECT_EQ(far.type("2025_03_09_0930_a"), u"Job"_s);
    EXPECT_EQ(far.type(edge), u"Work"_s);
    EXPECT_EQ(far.type("2025_03_07_0930_c"), u"Job"_s);
}

TEST_F(TypeRewriteTest, CountsTheMeetingsOfATypeAndThoseOfNone) {
    meetings.add("2025_03_07_0930_a", u"Work"_s);
    meetings.add("2025_03_07_0931_b", std::nullopt);
    meetings.add("2025_03_07_0932_c", u"Work"_s);
    meetings.add("2025_03_07_0933_d", u"work"_s);
    const auto records = store::MeetingLibrary::load(meetings.path);
    EXPECT_EQ(TypeStore::count(u"Work"_s, records), 2);
    EXPECT_EQ(TypeStore::count(std::nullopt, records), 1);
    EXPECT_EQ(TypeStore::count(u"Home"_s, records), 0);
}

} // namespace
