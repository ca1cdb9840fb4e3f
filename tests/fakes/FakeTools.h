// The two fake command-line tools, with the plans they follow and the calls they got.
//   Threads  one FakeTools at a time in a process: the plans are named by environment variables
#pragma once

#include "ai/AITools.h"
#include "base/Files.h"
#include "base/Json.h"

#include <QTemporaryDir>

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace fakes {

class FakeTools {
public:
    FakeTools() {
        ::setenv(whisperVariable, whisperPlan().c_str(), 1);
        ::setenv(claudeVariable, claudePlan().c_str(), 1);
    }

    FakeTools(const FakeTools&) = delete;
    FakeTools& operator=(const FakeTools&) = delete;

    ~FakeTools() {
        ::unsetenv(whisperVariable);
        ::unsetenv(claudeVariable);
    }

    [[nodiscard]] static ai::AITools tools() {
        const std::filesystem::path folder = FAKE_TOOLS_DIR;
        return {.whisper = folder / "fake_mlx_whisper", .claude = folder / "fake_claude"};
    }

    /// JSON texts; see the programs for what a plan can say.
    void planWhisper(const QByteArray& plan) { write(whisperPlan(), plan); }

    void planClaude(const QByteArray& plan) { write(claudePlan(), plan); }

    [[nodiscard]] std::vector<base::Json> whisperCalls() const { return calls(whisperPlan()); }

    [[nodiscard]] std::vector<base::Json> claudeCalls() const { return calls(claudePlan()); }

    [[nodiscard]] std::filesystem::path folder() const { return base::pathFrom(m_folder.path()); }

private:
    static constexpr const char* whisperVariable = "FAKE_WHISPER_PLAN";
    static constexpr const char* claudeVariable = "FAKE_CLAUDE_PLAN";

    [[nodiscard]] std::filesystem::path whisperPlan() const { return folder() / "whisper.json"; }

    [[nodiscard]] std::filesystem::path claudePlan() const { return folder() / "claude.json"; }

    static void write(const std::filesystem::path& file, const QByteArray& plan) {
        if (!base::replaceFile(file, plan)) {
            std::abort();
        }
    }

    [[nodiscard]] static std::vector<base::Json> calls(const std::filesystem::path& plan) {
        std::vector<base::Json> result;
        const auto log = base::readFile(plan.native() + ".log").value_or(QByteArray());
        for (const auto& line : log.split('\n')) {
            if (auto call = base::parseJson(line)) {
                result.push_back(std::move(*call));
            }
        }
        return result;
    }

    QTemporaryDir m_folder;
};

} // namespace fakes
