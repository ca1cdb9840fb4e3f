#include "capture/HealthCheck.h"

#include "copy/Strings.h"

#include <algorithm>

namespace capture::HealthCheck {

namespace {

using WriteWarning = copy::TextWith<QString>;

std::optional<QString> problem(double elapsed, const TrackHealth& track, const WriteWarning& write,
                               const QString& silent) {
    if (track.error) {
        return write(*track.error);
    }
    if (track.buffers == 0 && elapsed >= graceSeconds) {
        return silent;
    }
    return std::nullopt;
}

} // namespace

TrackHealth window(const TrackHealth& now, const std::optional<TrackHealth>& previous) {
    const std::int64_t before = previous ? previous->buffers : 0;
    return {std::max<std::int64_t>(now.buffers - before, 0), now.error};
}

QStringList problems(double elapsed, const TrackHealth& mic, const std::optional<TrackHealth>& system) {
    QStringList texts;
    if (const auto text = problem(elapsed, mic, copy::Strings::warnMicWrite, copy::Strings::warnMicSilent)) {
        texts += *text;
    }
    if (!system) {
        return texts;
    }
    if (const auto text = problem(elapsed, *system, copy::Strings::warnSystemWrite, copy::Strings::warnSystemSilent)) {
        texts += *text;
    }
    return texts;
}

QStringList resolved(const std::set<QString>& active, const QStringList& current) {
    QStringList gone;
    for (const QString& text : active) { // a set is sorted
        if (!current.contains(text)) {
            gone += text;
        }
    }
    return gone;
}

} // namespace capture::HealthCheck
