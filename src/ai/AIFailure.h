// Why a job failed.
#pragma once

#include "ai/AIStep.h"

#include <QString>

namespace ai {

struct AIFailure {
    AIStep step = AIStep::Transcribe;
    QString message; ///< the text that the user reads; nothing above rewords it
    bool operator==(const AIFailure&) const = default;
};

} // namespace ai
