#include "adapter/Settings.h"

#include "base/Files.h"
#include "fakes/ScopedVariable.h"
#include "fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <map>

using namespace Qt::StringLiterals;
using adapter::readSettings;
using adapter::Settings;

namespace {

class SettingsTest : public testing::Test {
protected:
    Settings read() const {
        return readSettings(
            [this](const char* name) -> std::optional<QString> {
                const auto found = variables.find(name);
                return found == variables.end() ? std::nullopt : std::optional(found->second);
            },
            folder / "conf");
    }

    void write(const QByteArray& text) const { ASSERT_TRUE(base::replaceFile(folder / "conf", text)); }

    fakes::TemporaryFolder folder;
    std::map<std::string, QString> variables;
};

} // namespace

TEST_F(SettingsTest, WithoutVariablesAndFileNothingIsSettled) {
    const auto settings = read();
    EXPECT_EQ(settings.wishes.engine, std::nullopt);
    EXPECT_EQ(settings.wishes.model, std::nullopt);
    EXPECT_EQ(settings.language, std::nullopt);
    EXPECT_EQ(settings.threads, std::nullopt);
}

TEST_F(SettingsTest, TheFileHasALineForEach) {
    write("# mine\n engine = whisper-cli \nModel=/models/a=b.bin\n\nlanguage=zh\r\nthreads = 3\nnonsense\n= x\n");
    const auto settings = read();
    EXPECT_EQ(settings.wishes.engine, "whisper-cli");
    EXPECT_EQ(settings.wishes.model, "/models/a=b.bin");
    EXPECT_EQ(settings.language, "zh");
    EXPECT_EQ(settings.threads, 3U);
}

TEST_F(SettingsTest, AVariableGoesBeforeTheFileUnlessItIsEmpty) {
    write("engine = whisper\nmodel = small\n");
    variables = {{"BRIEFLET_WHISPER_ENGINE", u"pocketsphinx"_s}, {"BRIEFLET_WHISPER_MODEL", u""_s}};
    EXPECT_EQ(read().wishes.engine, "pocketsphinx");
    EXPECT_EQ(read().wishes.model, "small");
}

TEST_F(SettingsTest, ThreadsThatMakeNoSenseAreNotSettled) {
    for (const auto& threads : {u"0"_s, u"-1"_s, u"many"_s, u"257"_s, u"1.5"_s}) {
        variables = {{"BRIEFLET_WHISPER_THREADS", threads}};
        EXPECT_EQ(read().threads, std::nullopt) << threads.toStdString();
    }
    variables = {{"BRIEFLET_WHISPER_THREADS", u"256"_s}};
    EXPECT_EQ(read().threads, 256U);
}

TEST_F(SettingsTest, AFileThatIsNoTextSettlesNothing) {
    write("engine = whisper\n\xff\xfe");
    EXPECT_EQ(read().wishes.engine, std::nullopt);
}

TEST_F(SettingsTest, TheFileStandsInTheConfigurationFolder) {
    const fakes::ScopedVariable config("XDG_CONFIG_HOME", "/conf");
    EXPECT_EQ(adapter::settingsFile(), "/conf/brieflet-whisper.conf");
    config.set("relative");
    const fakes::ScopedVariable home("HOME", "/home/ann");
    EXPECT_EQ(adapter::settingsFile(), "/home/ann/.config/brieflet-whisper.conf");
}
