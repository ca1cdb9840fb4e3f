#include "platform/linux/StreamClock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace platform::linux_desktop {

namespace {

/// What delays a word makes it late, never early; but the very earliest may be a slip.
double believed(std::vector<double> words) {
    const auto quartile = words.begin() + static_cast<std::ptrdiff_t>(words.size() / 4);
    std::ranges::nth_element(words, quartile);
    return *quartile;
}

} // namespace

bool StreamClock::isHole(double origin) const noexcept {
    return m_origin && origin - *m_origin > gapSeconds;
}

void StreamClock::arrived(double now, std::int64_t frames) {
    const auto first = std::exchange(m_frames, m_frames + frames);
    const double byArrival = now - seconds(m_frames);
    if (!m_doubt && byArrival - m_byArrival > gapSeconds) {
        m_doubt = Doubt{.from = first, .since = {}, .words = {}}; // late: lost in part, or only delayed
    }
    if (!m_doubt) {
        m_byArrival = std::min(m_byArrival, byArrival);
        return;
    }
    m_doubt->byArrival = std::min(m_doubt->byArrival.value_or(byArrival), byArrival);
    // By the clock and not by the sound: after a standstill the sound of seconds can come at once, before any word.
    m_doubt->since = m_doubt->since.value_or(now - seconds(frames));
    if (now - *m_doubt->since >= patienceSeconds - seconds(1) / 2) {
        settle();
    }
}

void StreamClock::told(double now, double latency) {
    m_lastWord = m_frames;
    if (!std::isfinite(latency) || std::abs(latency) > longestLatency) {
        return;
    }
    const double origin = now - latency - seconds(m_frames);
    if (!m_doubt && isHole(origin)) {
        m_doubt = Doubt{.from = m_frames, .since = {}, .words = {}};
    }
    if (!m_doubt) {
        return;
    }
    m_doubt->words.push_back(origin);
    const bool falseAlarm = m_origin && !isHole(origin);
    if (falseAlarm || m_doubt->words.size() >= (m_origin ? gapWords : settleWords)) {
        settle();
    }
}

bool StreamClock::wantsWord() const noexcept {
    return m_doubt || seconds(m_frames - m_lastWord) >= wordInterval;
}

void StreamClock::settle() {
    if (!m_doubt || (m_doubt->words.empty() && !m_doubt->byArrival)) {
        return;
    }
    const auto doubt = *std::exchange(m_doubt, std::nullopt);
    const double found = doubt.words.empty() ? *doubt.byArrival : believed(doubt.words);
    m_byArrival = doubt.byArrival.value_or(m_byArrival); // a new delay, if it stays, is no news
    if (m_origin && !isHole(found)) {
        return;
    }
    m_earlierOrigin = m_origin.value_or(found);
    m_origin = found;
    m_resumedAt = doubt.from;
}

double StreamClock::moment(std::int64_t frame) const noexcept {
    return (frame < m_resumedAt ? m_earlierOrigin : m_origin.value_or(0)) + seconds(frame);
}

} // namespace platform::linux_desktop
