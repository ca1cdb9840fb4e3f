#include "ai/SpeechEngines.h"

#include "ai/AITools.h"
#include "ai/ProcessRunner.h"
#include "base/Environment.h"

#include <algorithm>
#include <array>
#include <ranges>

namespace ai::SpeechEngines {
namespace {

using Kind = SpeechEngine::Kind;
using Path = std::filesystem::path;

struct Size {
    std::string_view name;
    double cost;
};

/// The best first. The costs follow from the models' sizes; the turbo model is a large one with a short second half.
constexpr std::array<Size, 9> sizes{{{"large-v3-turbo", 4.0},
                                     {"turbo", 4.0},
                                     {"large-v3", 8.0},
                                     {"large-v2", 8.0},
                                     {"large", 8.0},
                                     {"medium", 4.5},
                                     {"small", 1.5},
                                     {"base", 0.5},
                                     {"tiny", 0.25}}};
constexpr double unknownCost = 4.0;
constexpr double sphinxCost = 0.3;
constexpr std::array kinds{Kind::WhisperCpp, Kind::WhisperCTranslate2, Kind::OpenAIWhisper, Kind::PocketSphinx};

/// The programs that a kind goes by. The last one's Debian package names its program differently from itself.
std::vector<std::string_view> fileNames(Kind kind) {
    switch (kind) {
    case Kind::WhisperCpp:
        return {"whisper-cli", "whisper-cpp"};
    case Kind::WhisperCTranslate2:
        return {"whisper-ctranslate2"};
    case Kind::OpenAIWhisper:
        return {"whisper"};
    case Kind::PocketSphinx:
        return {"pocketsphinx_continuous"};
    }
    return {};
}

/// The user's own folders count too: the path that children get does not name them.
std::vector<Path> programFolders(const Machine& machine) {
    return {machine.home / ".local/bin",
            machine.home / "bin",
            machine.home / "whisper.cpp/build/bin",
            machine.root / "usr/local/bin",
            machine.root / "usr/bin",
            machine.root / "opt/homebrew/bin",
            machine.root / "opt/whisper.cpp/build/bin"};
}

std::optional<Path> findProgram(const Machine& machine, Kind kind) {
    for (const auto& folder : programFolders(machine)) {
        for (const auto name : fileNames(kind)) {
            if (AITools::isExecutableFile(folder / name)) {
                return folder / name;
            }
        }
    }
    return std::nullopt;
}

bool isFile(const Path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored);
}

std::vector<Path> entries(const Path& folder) {
    std::vector<Path> found;
    std::error_code failed;
    for (std::filesystem::directory_iterator at(folder, failed), end; !failed && at != end; at.increment(failed)) {
        found.push_back(at->path());
    }
    std::ranges::sort(found); // a folder's own order differs from machine to machine
    return found;
}

bool isEnglishOnly(std::string_view name) {
    return name.find(".en") != std::string_view::npos;
}

/// Where the name stands among the sizes; their number for one of our own making.
std::size_t sizeIndex(std::string_view name) {
    const auto known = std::ranges::find_if(sizes, [&](const Size& size) { return name.starts_with(size.name); });
    return static_cast<std::size_t>(known - sizes.begin());
}

SpeechModel modelNamed(std::string name, Path path) {
    const auto index = sizeIndex(name);
    const bool englishOnly = isEnglishOnly(name);
    return {.name = std::move(name),
            .path = std::move(path),
            .cost = index < sizes.size() ? sizes[index].cost : unknownCost,
            .englishOnly = englishOnly};
}

/// `name` without the two around it; nullopt if it does not have them.
std::optional<std::string> between(const std::string& name, std::string_view prefix, std::string_view suffix) {
    if (name.size() <= prefix.size() + suffix.size() || !name.starts_with(prefix) || !name.ends_with(suffix)) {
        return std::nullopt;
    }
    return name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
}

std::vector<SpeechModel> filesIn(const Path& folder, std::string_view prefix, std::string_view suffix) {
    std::vector<SpeechModel> models;
    for (const auto& path : entries(folder)) {
        auto name = between(path.filename().native(), prefix, suffix);
        if (name && isFile(path)) {
            models.push_back(modelNamed(std::move(*name), path));
        }
    }
    return models;
}

void append(std::vector<SpeechModel>& models, std::vector<SpeechModel> more) {
    std::ranges::move(more, std::back_inserter(models));
}

std::vector<SpeechModel> whisperCppModels(const Machine& machine, const Path& program) {
    std::vector<SpeechModel> models;
    for (const auto& folder :
         {machine.home / ".local/share/whisper.cpp/models", machine.home / ".local/share/whisper.cpp",
          machine.home / ".cache/whisper.cpp", program.parent_path() / "../../models",
          program.parent_path() / "../share/whisper.cpp/models", machine.root / "usr/share/whisper.cpp/models",
          machine.root / "usr/local/share/whisper.cpp/models"}) {
        append(models, filesIn(folder.lexically_normal(), "ggml-", ".bin"));
    }
    // What comes with the sources for testing is no model, and neither is one that only tells speech from silence.
    std::erase_if(models, [](const auto& model) {
        return model.name.starts_with("silero") || model.name.starts_with("for-tests");
    });
    return models;
}

/// The cache of the model hub: "models--OWNER--faster-whisper-NAME/snapshots/REVISION/model.bin".
std::vector<SpeechModel> hubModels(const Machine& machine) {
    std::vector<SpeechModel> models;
    for (const auto& repository : entries(machine.home / ".cache/huggingface/hub")) {
        const std::string name = repository.filename().native();
        const auto marker = name.find("faster-whisper-");
        if (!name.starts_with("models--") || marker == std::string::npos) {
            continue;
        }
        for (const auto& snapshot : entries(repository / "snapshots")) {
            if (isFile(snapshot / "model.bin")) {
                models.push_back(
                    modelNamed(name.substr(marker + std::string_view("faster-whisper-").size()), snapshot));
                break;
            }
        }
    }
    return models;
}

std::vector<SpeechModel> sphinxModels(const Machine& machine) {
    const Path folder = machine.root / "usr/share/pocketsphinx/model/en-us";
    if (!isFile(folder / "en-us/mdef") || !isFile(folder / "cmudict-en-us.dict") || !isFile(folder / "en-us.lm.bin")) {
        return {};
    }
    return {{.name = "en-us", .path = folder, .cost = sphinxCost, .englishOnly = true}};
}

std::vector<SpeechModel> modelsOf(Kind kind, const Machine& machine, const Path& program) {
    switch (kind) {
    case Kind::WhisperCpp:
        return whisperCppModels(machine, program);
    case Kind::WhisperCTranslate2:
        return hubModels(machine);
    case Kind::OpenAIWhisper:
        return filesIn(machine.home / ".cache/whisper", "", ".pt");
    case Kind::PocketSphinx:
        return sphinxModels(machine);
    }
    return {};
}

/// The model that the user has named by its path, wherever it is.
std::vector<SpeechModel> namedByPath(Kind kind, const Wishes& wishes) {
    const Path path = wishes.model.value_or(std::string());
    if (!path.is_absolute()) {
        return {};
    }
    const bool fits = (kind == Kind::WhisperCpp && path.extension() == ".bin" && isFile(path)) ||
                      (kind == Kind::WhisperCTranslate2 && isFile(path / "model.bin")) ||
                      (kind == Kind::OpenAIWhisper && path.extension() == ".pt" && isFile(path));
    const std::string name = path.stem().native();
    return fits ? std::vector{modelNamed(name.starts_with("ggml-") ? name.substr(5) : name, path)}
                : std::vector<SpeechModel>();
}

/// The user's own model alone, if it is there; all, the best first, without a wish.
std::vector<SpeechModel> chosen(std::vector<SpeechModel> models, const Wishes& wishes) {
    if (wishes.model) {
        std::erase_if(models,
                      [&](const auto& model) { return model.name != *wishes.model && model.path != *wishes.model; });
    }
    // A meeting can be in any language, so that the smallest model for all of them goes before the largest for one.
    std::ranges::stable_sort(models, {}, [](const SpeechModel& model) {
        return std::tuple(model.englishOnly, sizeIndex(model.name), model.name);
    });
    // One folder can be reached by two ways.
    const auto again = std::ranges::unique(models);
    models.erase(again.begin(), again.end());
    return models;
}

} // namespace

std::string_view programName(Kind kind) {
    switch (kind) {
    case Kind::WhisperCpp:
        return "whisper-cli";
    case Kind::WhisperCTranslate2:
        return "whisper-ctranslate2";
    case Kind::OpenAIWhisper:
        return "whisper";
    case Kind::PocketSphinx:
        return "pocketsphinx";
    }
    return {};
}

std::vector<SpeechEngine> find(const Machine& machine, const Wishes& wishes) {
    std::vector<SpeechEngine> engines;
    for (const auto kind : kinds) {
        if (wishes.engine && programName(kind) != *wishes.engine) {
            continue;
        }
        const auto program = findProgram(machine, kind);
        if (!program) {
            continue;
        }
        auto models = modelsOf(kind, machine, *program);
        append(models, namedByPath(kind, wishes));
        models = chosen(std::move(models), wishes);
        if (!models.empty()) {
            engines.push_back({.kind = kind, .program = *program, .models = std::move(models)});
        }
    }
    return engines;
}

std::optional<Path> standIn() {
    std::error_code failed;
    const Path program = std::filesystem::read_symlink("/proc/self/exe", failed).parent_path() / "brieflet-whisper";
    if (failed || !AITools::isExecutableFile(program) ||
        find({.root = "/", .home = base::Environment::homeFolder()}).empty()) {
        return std::nullopt;
    }
    return program;
}

} // namespace ai::SpeechEngines
