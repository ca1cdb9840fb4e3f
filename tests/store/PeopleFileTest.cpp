#include "store/PeopleFile.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using store::PeopleFile;

namespace {

TEST(PeopleFile, IsReadInItsOrder) {
    EXPECT_EQ(PeopleFile::decode(R"({"people": ["Bob", "Ann", "林"]})"), (PeopleFile{{u"Bob"_s, u"Ann"_s, u"林"_s}}));
}

TEST(PeopleFile, AnEmptyListIsAValidFile) {
    EXPECT_EQ(PeopleFile::decode(R"({"people": []})"), PeopleFile{});
}

TEST(PeopleFile, OtherKeysAreIgnored) {
    EXPECT_EQ(PeopleFile::decode(R"({"version": 2, "people": ["Ann"], "x": {"people": 3}})"), (PeopleFile{{u"Ann"_s}}));
}

TEST(PeopleFile, AByteOrderMarkIsNoObstacle) {
    EXPECT_EQ(PeopleFile::decode("\xEF\xBB\xBF{\"people\": [\"Ann\"]}"), (PeopleFile{{u"Ann"_s}}));
}

TEST(PeopleFile, OfEqualKeysTheLastCounts) {
    EXPECT_EQ(PeopleFile::decode(R"({"people": 3, "people": ["Ann"]})"), (PeopleFile{{u"Ann"_s}}));
}

TEST(PeopleFile, IsWrittenForAPersonToRead) {
    const PeopleFile file{{u"Ann/Bob"_s, u"林"_s}};
    EXPECT_EQ(file.data(), "{\n  \"people\" : [\n    \"Ann/Bob\",\n    \"林\"\n  ]\n}");
    EXPECT_EQ(PeopleFile::decode(file.data()), file);
}

TEST(PeopleFile, EveryCutMakesItUnreadable) {
    const auto whole = PeopleFile{{u"Ann"_s, u"林"_s}}.data();
    for (qsizetype length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(PeopleFile::decode(whole.first(length)), std::nullopt) << length;
    }
}

TEST(PeopleFileAdding, TrimsTheNameAndPutsItLast) {
    const PeopleFile file{{u"Bob"_s}};
    EXPECT_EQ(file.adding(u"  Ann\n"_s), (PeopleFile{{u"Bob"_s, u"Ann"_s}}));
    EXPECT_EQ(file.adding(u"\tAnn Lee\r\n"_s), (PeopleFile{{u"Bob"_s, u"Ann Lee"_s}}));
}

TEST(PeopleFileAdding, AKnownNameInAnotherCaseHasNoResult) {
    EXPECT_EQ((PeopleFile{{u"ann"_s}}.adding(u"ANN"_s)), std::nullopt);
    EXPECT_EQ((PeopleFile{{u"Bob"_s, u"Éva"_s}}.adding(u"e\u0301va"_s)), std::nullopt);
}

TEST(PeopleFileAdding, ALongerNameIsAnotherOne) {
    EXPECT_EQ((PeopleFile{{u"Ann"_s}}.adding(u"Anna"_s)), (PeopleFile{{u"Ann"_s, u"Anna"_s}}));
}

TEST(PeopleFileAdding, ANameOfBlanksHasNoResult) {
    EXPECT_EQ(PeopleFile{}.adding(u"   "_s), std::nullopt);
    EXPECT_EQ(PeopleFile{}.adding(u" \t\n"_s), std::nullopt);
    EXPECT_EQ(PeopleFile{}.adding(QString()), std::nullopt);
}

} // namespace
