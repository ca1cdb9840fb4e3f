// The two steps of a job. Advice on a practice take is the second one as well.
#pragma once

namespace ai {

enum class AIStep { Transcribe, Summarize };

} // namespace ai
