#include "ai/StoredObject.h"

#include "copy/Strings.h"
#include "store/AppPaths.h"

namespace ai::AIPipeline {
namespace {

bool isThere(const std::filesystem::path& file) {
    std::error_code ignored;
    return std::filesystem::exists(std::filesystem::symlink_status(file, ignored));
}

std::unexpected<AIFailure> notSaved(const base::FileError& error) {
    return std::unexpected(AIFailure{AIStep::Summarize, copy::Strings::mainSaveFailed(error.text)});
}

} // namespace

StepResult write(const base::Json& object, const std::filesystem::path& file, const StepContext& context) {
    const bool replaces = isThere(file);
    if (replaces && context.automatic) {
        return {};
    }
    const QByteArray bytes = base::writeJson(object);
    if (replaces) {
        if (const auto discarded = context.discard(file); !discarded) {
            return notSaved(discarded.error());
        }
    }
    if (const auto replaced = base::replaceFile(file, bytes); !replaced) {
        return notSaved(replaced.error());
    }
    return {};
}

StepContext::Discard trash(const base::WallClock& clock) {
    return [&clock](const std::filesystem::path& file) { return store::AppPaths::trashItem(file, clock.now()); };
}

} // namespace ai::AIPipeline
