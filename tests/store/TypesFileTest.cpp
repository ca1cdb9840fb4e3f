#include "store/TypesFile.h"

#include "copy/Strings.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using store::MeetingType;
using store::TypesFile;

namespace {

const TypesFile sample{{{u"工作"_s, u"blue"_s}, {u"A/B"_s, u"teal"_s}}};

TEST(TypesFile, IsReadInItsOrderWithAnyColor) {
    EXPECT_EQ(TypesFile::decode(
                  R"({"types":[{"name":"工作","color":"blue"},{"color":"teal","name":"A/B","note":1}],"version":2})"),
              sample);
}

TEST(TypesFile, AnEmptyListIsAValidFile) {
    EXPECT_EQ(TypesFile::decode(R"({"types": []})"), TypesFile{});
}

TEST(TypesFile, AByteOrderMarkIsNoObstacle) {
    EXPECT_EQ(TypesFile::decode("\xEF\xBB\xBF{\"types\": []}"), TypesFile{});
}

TEST(TypesFile, ATypeWithoutNameOrColorMakesItUnreadable) {
    EXPECT_EQ(TypesFile::decode(R"({"types":[{"name":"Work"}]})"), std::nullopt);
    EXPECT_EQ(TypesFile::decode(R"({"types":[{"color":"blue"}]})"), std::nullopt);
    EXPECT_EQ(TypesFile::decode(R"({"types":[{"name":"Work","color":null}]})"), std::nullopt);
    EXPECT_EQ(TypesFile::decode(R"({"types":[{"name":3,"color":"blue"}]})"), std::nullopt);
    EXPECT_EQ(TypesFile::decode(R"({"types":[{"name":"Work","color":"blue"},"Personal"]})"), std::nullopt);
}

TEST(TypesFile, IsWrittenWithTheNameBeforeTheColor) {
    EXPECT_EQ(sample.data(), "{\n"
                             "  \"types\" : [\n"
                             "    {\n"
                             "      \"name\" : \"工作\",\n"
                             "      \"color\" : \"blue\"\n"
                             "    },\n"
                             "    {\n"
                             "      \"name\" : \"A/B\",\n"
                             "      \"color\" : \"teal\"\n"
                             "    }\n"
                             "  ]\n"
                             "}");
    EXPECT_EQ(TypesFile::decode(sample.data()), sample);
}

TEST(TypesFile, EveryCutMakesItUnreadable) {
    const auto whole = sample.data();
    for (qsizetype length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(TypesFile::decode(whole.first(length)), std::nullopt) << length;
    }
}

TEST(TypesFile, TheSeedIsTheTwoFirstNamesInBlueAndGreen) {
    const auto names = copy::Strings::meetingTypes();
    EXPECT_EQ(TypesFile::seed(), (TypesFile{{{names[0], u"blue"_s}, {names[1], u"green"_s}}}));
}

} // namespace
