#include "powercut/Cuts.h"

#include <random>
#include <stdexcept>
#include <unistd.h>
#include <utility>
#include <vector>

namespace powercut {

namespace fs = std::filesystem;

namespace {

bool isName(const Step& step) {
    return step.kind == Step::Kind::Add || step.kind == Step::Kind::Remove || step.kind == Step::Kind::Move;
}

struct Loss {
    std::string name;
    Choice choice;
};

std::vector<Loss> lossesAt(std::size_t cut, int mixtures) {
    std::vector<Loss> losses{
        {"everything lost", [](const Step&, std::size_t) { return Fate::Lost; }},
        {"everything kept", [](const Step&, std::size_t) { return Fate::Kept; }},
        {"names kept", [](const Step& step, std::size_t) { return isName(step) ? Fate::Kept : Fate::Lost; }},
        {"bytes kept", [](const Step& step, std::size_t) { return isName(step) ? Fate::Lost : Fate::Kept; }},
    };
    for (int mixture = 0; mixture < mixtures; ++mixture) {
        const auto seed = static_cast<unsigned int>(cut * 1000 + static_cast<std::size_t>(mixture));
        losses.push_back(
            {"mixture " + std::to_string(mixture), [random = std::mt19937(seed)](const Step&, std::size_t) mutable {
                 constexpr Fate fates[] = {Fate::Kept, Fate::Lost, Fate::Torn};
                 return fates[random() % std::size(fates)];
             }});
    }
    return losses;
}

/// In memory where the machine offers it: thousands of small trees come and go.
fs::path scratchFolder() {
    const fs::path memory = "/dev/shm";
    const fs::path parent = ::access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
    std::string pattern = (parent / "brieflet-powercut-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    return pattern;
}

std::string wayTo(const Cut& cut, const Loss& loss) {
    std::string text = " (" + loss.name + ", cut after " + std::to_string(cut.steps) + " of " +
                       std::to_string(cut.history.steps.size()) + " steps)";
    for (std::size_t index = 0; index < cut.steps; ++index) {
        text +=
            "\n  " + cut.history.describe(index) + (cut.history.isSafe(index, cut.steps) ? "" : "   <- not flushed");
    }
    return text;
}

} // namespace

std::string tryCuts(const History& history, const Check& check, int mixtures, std::size_t stride) {
    const fs::path scratch = scratchFolder();
    std::string wrong;
    for (std::size_t steps = 0; wrong.empty() && steps <= history.steps.size(); ++steps) {
        if (steps % stride != 0 && steps != history.steps.size()) {
            continue;
        }
        for (const Loss& loss : lossesAt(steps, mixtures)) {
            const Cut cut{history, steps, scratch / "left"};
            history.restore(steps, loss.choice, cut.folder);
            wrong = check(cut);
            fs::remove_all(cut.folder);
            if (!wrong.empty()) {
                wrong += wayTo(cut, loss);
                break;
            }
        }
    }
    fs::remove_all(scratch);
    return wrong;
}

} // namespace powercut
