#include "copy/Strings.h"

#include <algorithm>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace copy::Strings {

namespace {

constexpr std::int64_t secondsPerMinute = 60;
constexpr std::int64_t secondsPerHour = 3600;

/// Negative, absent and endless times have no text of their own: they are read as 0 and as the longest one.
std::int64_t wholeSeconds(double seconds) {
    constexpr double longest = 1e15;
    return std::isnan(seconds) ? 0 : static_cast<std::int64_t>(std::clamp(seconds, 0.0, longest));
}

constexpr TextWith<int, int> minuteClock{u"%02d:%02d"};
constexpr TextWith<int, int, int> hourClock{u"%d:%02d:%02d"};
constexpr TextWith<int, int> minuteDuration{u"%d 分 %02d 秒"};
constexpr TextWith<int, int> hourDuration{u"%d 小時 %02d 分"};

} // namespace

QString clock(double seconds) {
    const auto whole = wholeSeconds(seconds);
    const auto minutes = whole % secondsPerHour / secondsPerMinute;
    if (whole < secondsPerHour) {
        return minuteClock(minutes, whole % secondsPerMinute);
    }
    return hourClock(whole / secondsPerHour, minutes, whole % secondsPerMinute);
}

QString duration(double seconds) {
    const auto whole = wholeSeconds(std::round(seconds));
    if (whole < secondsPerHour) {
        return minuteDuration(whole / secondsPerMinute, whole % secondsPerMinute);
    }
    return hourDuration(whole / secondsPerHour, whole % secondsPerHour / secondsPerMinute);
}

QStringList meetingTypes() {
    if (OnboardingLanguage::current() == OnboardingLanguage::zh) {
        return {u"工作"_s, u"私人"_s};
    }
    return {u"Work"_s, u"Personal"_s};
}

} // namespace copy::Strings
