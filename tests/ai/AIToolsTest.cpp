#include "ai/AITools.h"

#include "base/Files.h"

#include <QTemporaryDir>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

using namespace Qt::StringLiterals;
using ai::AITools;
using testing::ElementsAre;
using Path = std::filesystem::path;

namespace {

const Path home = "/home/ann";

struct Machine {
    bool testMode = false;
    std::map<std::string, QString> variables{};
    std::set<Path> executables{};
    std::optional<Path> standIn{};

    AITools resolve() const {
        return AITools::resolve({
            .testMode = testMode,
            .variable = [this](const char* name) -> std::optional<QString> {
                const auto found = variables.find(name);
                return found == variables.end() ? std::nullopt : std::optional(found->second);
            },
            .home = home,
            .isExecutable = [this](const Path& path) { return executables.contains(path); },
            .standIn = [this] { return standIn; },
        });
    }
};

} // namespace

TEST(AIToolsTest, WhisperIsLookedForInTheSystemsPlacesBeforeTheUsersOwn) {
    EXPECT_THAT(AITools::whisperPlaces(home), ElementsAre("/opt/homebrew/bin/mlx_whisper", "/usr/local/bin/mlx_whisper",
                                                          "/home/ann/.local/bin/mlx_whisper"));
}

TEST(AIToolsTest, ClaudeIsLookedForInTheUsersPlaceBeforeTheSystems) {
    EXPECT_THAT(AITools::claudePlaces(home),
                ElementsAre("/home/ann/.local/bin/claude", "/opt/homebrew/bin/claude", "/usr/local/bin/claude"));
}

TEST(AIToolsTest, TheFirstExecutablePlaceWins) {
    Machine machine;
    machine.executables = {"/usr/local/bin/mlx_whisper", "/home/ann/.local/bin/mlx_whisper", "/usr/local/bin/claude",
                           "/home/ann/.local/bin/claude"};
    EXPECT_EQ(machine.resolve(), (AITools{"/usr/local/bin/mlx_whisper", "/home/ann/.local/bin/claude"}));
}

TEST(AIToolsTest, WithNoToolInAnyPlaceTheFirstPlacesAreNamed) {
    EXPECT_EQ(Machine{}.resolve(), (AITools{"/opt/homebrew/bin/mlx_whisper", "/home/ann/.local/bin/claude"}));
}

TEST(AIToolsTest, AnEmptyListOfPlacesGivesAnEmptyPath) {
    EXPECT_EQ(AITools::firstFound({}), Path());
}

TEST(AIToolsTest, VariablesAreIgnoredInANormalRun) {
    Machine machine;
    machine.variables = {{"TARVEX_WHISPER_BIN", u"/fakes/whisper"_s},
                         {"TARVEX_CLAUDE_BIN", u"/fakes/claude"_s},
                         {"TARVEX_REAL_AI", u"1"_s}};
    EXPECT_EQ(machine.resolve(), (AITools{"/opt/homebrew/bin/mlx_whisper", "/home/ann/.local/bin/claude"}));
}

TEST(AIToolsTest, InTestModeWithoutVariablesBothToolsAreNowhere) {
    Machine machine{.testMode = true};
    machine.executables = {"/usr/local/bin/mlx_whisper", "/usr/local/bin/claude"};
    machine.standIn = "/usr/bin/stand-in";
    EXPECT_EQ(machine.resolve(), (AITools{"/nonexistent/test-mode/mlx_whisper", "/nonexistent/test-mode/claude"}));
    EXPECT_FALSE(machine.resolve().whisperFound());
    EXPECT_FALSE(machine.resolve().claudeFound());
}

TEST(AIToolsTest, InTestModeAVariableNamesTheTool) {
    Machine machine{.testMode = true};
    machine.variables = {{"TARVEX_WHISPER_BIN", u"/fakes/whisper"_s}, {"TARVEX_CLAUDE_BIN", u"/fakes/claude"_s}};
    EXPECT_EQ(machine.resolve(), (AITools{"/fakes/whisper", "/fakes/claude"}));
}

TEST(AIToolsTest, InTestModeAnEmptyVariableNamesNothing) {
    Machine machine{.testMode = true};
    machine.variables = {{"TARVEX_WHISPER_BIN", u""_s}};
    EXPECT_EQ(machine.resolve().whisper, "/nonexistent/test-mode/mlx_whisper");
}

TEST(AIToolsTest, InTestModeRealToolsAreUsedWhenAskedForWithExactlyOne) {
    Machine machine{.testMode = true};
    machine.executables = {"/usr/local/bin/claude"};
    machine.variables = {{"TARVEX_REAL_AI", u"1"_s}};
    EXPECT_EQ(machine.resolve(), (AITools{"/opt/homebrew/bin/mlx_whisper", "/usr/local/bin/claude"}));
    for (const auto& other : {u"true"_s, u"11"_s, u" 1"_s, u""_s}) {
        machine.variables = {{"TARVEX_REAL_AI", other}};
        EXPECT_EQ(machine.resolve(), (AITools{"/nonexistent/test-mode/mlx_whisper", "/nonexistent/test-mode/claude"}));
    }
}

TEST(AIToolsTest, AVariableGoesBeforeRealTools) {
    Machine machine{.testMode = true};
    machine.variables = {{"TARVEX_REAL_AI", u"1"_s}, {"TARVEX_CLAUDE_BIN", u"/fakes/claude"_s}};
    EXPECT_EQ(machine.resolve(), (AITools{"/opt/homebrew/bin/mlx_whisper", "/fakes/claude"}));
}

TEST(AIToolsTest, TheStandInServesOnlyWhileWhisperIsInNoneOfItsPlaces) {
    Machine machine;
    machine.standIn = "/usr/lib/stand-in";
    EXPECT_EQ(machine.resolve().whisper, "/usr/lib/stand-in");
    machine.executables = {"/home/ann/.local/bin/mlx_whisper"};
    EXPECT_EQ(machine.resolve().whisper, "/home/ann/.local/bin/mlx_whisper");
}

TEST(AIToolsTest, WithoutAnEngineTheStandInIsNotNamed) {
    EXPECT_EQ(Machine{}.resolve().whisper, "/opt/homebrew/bin/mlx_whisper");
}

TEST(AIToolsTest, OnlyARegularFileWithAnExecuteBitIsExecutable) {
    const QTemporaryDir folder;
    const auto path = base::pathFrom(folder.filePath(u"tool"_s));
    EXPECT_FALSE(AITools::isExecutableFile(path)) << "missing";
    ASSERT_TRUE(base::replaceFile(path, "#!/bin/sh\n"));
    EXPECT_FALSE(AITools::isExecutableFile(path)) << "plain file";
    std::filesystem::permissions(path, std::filesystem::perms::owner_exec, std::filesystem::perm_options::add);
    EXPECT_TRUE(AITools::isExecutableFile(path));
    EXPECT_FALSE(AITools::isExecutableFile(path.parent_path())) << "folder";
    const auto link = path.parent_path() / "link";
    std::filesystem::create_symlink(path, link);
    EXPECT_TRUE(AITools::isExecutableFile(link));
    EXPECT_TRUE((AITools{link, "/nowhere"}.whisperFound()));
    EXPECT_FALSE((AITools{link, "/nowhere"}.claudeFound()));
}
