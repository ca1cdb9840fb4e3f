#include "jobs/AIStatusText.h"

#include "copy/Strings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace jobs::AIStatusText {

namespace {

using ai::AIStatus;
using copy::MainCopy;
namespace Strings = copy::Strings;
using Kind = AIStatus::Kind;

constexpr double minute = 60.0;
constexpr double step = 10.0;
/// More than any text needs, and safe to turn into a whole number.
constexpr double longest = 1e12;

std::int64_t wholeMinutes(double seconds) {
    return std::max<std::int64_t>(1, std::llround(std::min(seconds, longest) / minute));
}

QString transcribing(std::optional<double> remaining, Length length) {
    return remaining ? Strings::etaTranscribing(minutesLeft(*remaining, length, MainCopy::zh))
                     : Strings::aiTranscribing.toString();
}

QString summarizing(bool practice, std::optional<double> remaining, Length length) {
    if (!remaining) {
        return practice ? Strings::coachWorking.toString() : Strings::aiSummarizing.toString();
    }
    const QString left = secondsLeft(*remaining, length, MainCopy::zh);
    return practice ? Strings::etaCoaching(left) : Strings::etaSummarizing(left);
}

} // namespace

std::optional<QString> page(const std::optional<AIStatus>& status, bool practice, std::optional<double> remaining) {
    if (!status) {
        return std::nullopt;
    }
    switch (status->kind()) {
    case Kind::Queued:
        return Strings::aiQueued.toString();
    case Kind::Transcribing:
        return transcribing(remaining, Length::Long);
    case Kind::Summarizing:
        return summarizing(practice, remaining, Length::Long);
    case Kind::Failed:
        break;
    }
    return std::nullopt;
}

QString row(const AIStatus& status, bool practice, std::optional<double> remaining) {
    return status.kind() == Kind::Summarizing ? summarizing(practice, remaining, Length::Short)
                                              : transcribing(remaining, Length::Short);
}

bool rewrites(const std::optional<AIStatus>& status) {
    return status && status->kind() == Kind::Summarizing;
}

std::optional<QString> rewriting(const std::optional<AIStatus>& status, bool practice,
                                 std::optional<double> remaining) {
    return rewrites(status) ? page(status, practice, remaining) : std::nullopt;
}

QString minutesLeft(double seconds, Length length, const MainCopy& copy) {
    if (!(seconds > 0)) {
        return copy.etaAlmost;
    }
    const bool isShort = length == Length::Short;
    if (seconds < minute) {
        return isShort ? Strings::etaRowUnderMinute.toString() : copy.etaUnderMinute.toString();
    }
    const std::int64_t minutes = wholeMinutes(seconds);
    return isShort ? Strings::etaRowMinutes(minutes) : copy.etaMinutesLeft(minutes);
}

QString secondsLeft(double seconds, Length length, const MainCopy& copy) {
    if (!(seconds > 0)) {
        return copy.etaAlmost;
    }
    if (seconds < minute) {
        return copy.etaSeconds(std::llround(std::ceil(seconds / step) * step));
    }
    const std::int64_t minutes = wholeMinutes(seconds);
    return length == Length::Short ? Strings::etaRowMinutes(minutes) : copy.etaMinutes(minutes);
}

} // namespace jobs::AIStatusText
