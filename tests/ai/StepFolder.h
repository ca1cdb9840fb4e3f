// A meeting folder and all that a step needs, for the tests of the steps.
#pragma once

#include "ai/StepContext.h"
#include "base/Files.h"
#include "fakes/FakeTools.h"
#include "fakes/ManualScheduler.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

class StepFolder : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directories(folder);
        write("meta.json", R"({"start": "2025-03-07T09:00:00+08:00", "duration": 90, "people": [],
                               "screenshotsEnabled": true})");
    }

    void write(const char* name, const QByteArray& bytes) const {
        ASSERT_TRUE(base::replaceFile(folder / name, bytes));
    }

    [[nodiscard]] QByteArray read(const char* name) const {
        return base::readFile(folder / name).value_or(QByteArray("(missing)"));
    }

    [[nodiscard]] bool has(const char* name) const { return std::filesystem::exists(folder / name); }

    [[nodiscard]] ai::StepContext context(bool automatic = false) {
        return {.tools = tools,
                .runner = runner,
                .workRoot = workRoot,
                .clock = clock,
                .discard = [this](const std::filesystem::path& file) { return discard(file); },
                .automatic = automatic};
    }

    /// No temporary folder is left behind.
    void TearDown() override { EXPECT_TRUE(!std::filesystem::exists(workRoot) || std::filesystem::is_empty(workRoot)); }

    fakes::FakeTools fake;
    QTemporaryDir root;
    std::filesystem::path folder = base::pathFrom(root.path()) / "2025_03_07_0900 a b";
    std::filesystem::path workRoot = base::pathFrom(root.path()) / "tmp" / "deep";
    std::filesystem::path trash = base::pathFrom(root.path()) / "trash";
    fakes::ManualWallClock clock;
    ai::AITools tools = fakes::FakeTools::tools();
    ai::ProcessRunner runner;
    std::optional<base::FileError> trashRefuses;

private:
    std::expected<void, base::FileError> discard(const std::filesystem::path& file) {
        if (trashRefuses) {
            return std::unexpected(*trashRefuses);
        }
        std::filesystem::create_directories(trash);
        std::filesystem::rename(file, trash / file.filename());
        return {};
    }
};
