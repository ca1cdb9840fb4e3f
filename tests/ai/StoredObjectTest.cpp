#include "ai/StoredObject.h"

#include "StepFolder.h"
#include "copy/Strings.h"
#include "fakes/SmallDisk.h"

#include <cerrno>

using namespace Qt::StringLiterals;
using base::Json;

namespace {

class StoredObjectTest : public StepFolder {
protected:
    ai::StepResult write(const QString& text, bool automatic = false) {
        return ai::AIPipeline::write(Json::Object{{u"text"_s, text}}, folder / "file.json", context(automatic));
    }
};

} // namespace

TEST_F(StoredObjectTest, ANewFileNeedsNoTrash) {
    ASSERT_TRUE(write(u"a/b"_s, true));
    EXPECT_EQ(read("file.json"), "{\n  \"text\" : \"a/b\"\n}");
    EXPECT_FALSE(std::filesystem::exists(trash));
}

TEST_F(StoredObjectTest, AFullDiskLeavesTheOldFileInTheTrashAndNoHalfOne) {
    StepFolder::write("file.json", "old");
    const fakes::SmallDisk disk(1000);
    const auto result = write(QString(5000, u'x'));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().message, copy::Strings::mainSaveFailed(base::fileError(EFBIG).text));
    EXPECT_EQ(base::readFile(trash / "file.json"), QByteArray("old"));
    EXPECT_FALSE(has("file.json"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 1) << "meta.json alone";
}

TEST_F(StoredObjectTest, ALinkThatLeadsNowhereIsReplacedLikeAFile) {
    std::filesystem::create_symlink("/nonexistent/elsewhere", folder / "file.json");
    EXPECT_TRUE(write(u"x"_s, true));
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "file.json")) << "automatic work replaces nothing";
    ASSERT_TRUE(write(u"x"_s));
    EXPECT_FALSE(std::filesystem::is_symlink(folder / "file.json"));
    EXPECT_TRUE(std::filesystem::is_symlink(trash / "file.json"));
}
