// One job for the AI: which folder, and what of the work.
#pragma once

#include <filesystem>

namespace ai {

struct AIRequest {
    enum class Transcribe {
        IfMissing, ///< only when there is no transcript with a segment in it
        Always
    };

    std::filesystem::path folder;
    Transcribe transcribe = Transcribe::IfMissing;
    bool summarize = true;  ///< also run the second step: the summary of a meeting, the advice on a practice take
    bool automatic = false; ///< the system asked, not the user
    bool operator==(const AIRequest&) const = default;
};

} // namespace ai
