#include "entry/QuitPolicy.h"

#include "base/Environment.h"

#include <algorithm>

namespace entry::QuitPolicy {

double limit(double base, std::optional<double> convertingSeconds) {
    return base + std::max(convertingSeconds.value_or(0.0), 0.0) / recordingSecondsPerSecond;
}

double aiWait() {
    return base::Environment::testNumber("TARVEX_AI_QUIT_WAIT", 60.0);
}

double terminateWaitLimit() {
    return base::Environment::testNumber("TARVEX_TERMINATE_WAIT", 20.0);
}

} // namespace entry::QuitPolicy
