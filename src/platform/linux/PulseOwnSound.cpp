#include "platform/linux/PulseOwnSound.h"

#include "base/HostClock.h"

#include <algorithm>
#include <set>
#include <utility>

namespace platform::linux_desktop {

PulseOwnSound::PulseOwnSound(PulseLoop& loop, const capture::AudioFormat& format, OwnSoundFilter::OnBlock onBlock,
                             std::function<void()> onTapEnded)
    : m_loop(loop)
    , m_format(format)
    , m_onTapEnded(std::move(onTapEnded))
    , m_filter(format, std::move(onBlock)) {}

void PulseOwnSound::changed() {
    ++m_changes;
    m_filter.doubt();
}

bool PulseOwnSound::check(PulseConnection& connection, const PulseConnection::Sink& sink, Deadline deadline) {
    std::uint64_t seen = 0;
    {
        const PulseLoop::Lock lock(m_loop);
        seen = m_changes;
    }
    const auto inputs = connection.sinkInputs(deadline);
    if (!inputs) {
        return true; // the server is dying, which is told by itself, or it hangs
    }
    bool ours = false;
    std::set<std::uint32_t> others;
    for (const auto& input : *inputs) {
        if (input.sink == sink.index) {
            ours = ours || input.ours;
            if (!input.ours) {
                others.insert(input.index);
            }
        }
    }
    bool needsTaps = false;
    {
        const PulseLoop::Lock lock(m_loop);
        if (seen != m_changes) {
            return false; // no longer true; the next check is on its way
        }
        m_filter.known(ours);
        needsTaps = m_filter.needsTaps();
    }
    if (!needsTaps) {
        others.clear();
    }
    std::erase_if(m_taps, [&](const auto& tapped) { return !others.contains(tapped.first); });
    for (const std::uint32_t input : others) {
        if (!m_taps.contains(input)) {
            tap(connection, sink, input, deadline);
        }
    }
    return needsTaps && !ours;
}

void PulseOwnSound::tap(PulseConnection& connection, const PulseConnection::Sink& sink, std::uint32_t input,
                        Deadline deadline) {
    const double begin = base::MonotonicClock().now();
    auto tapped = std::make_unique<PulseMonitor>(connection, sink, m_format,
                                                 [this](const capture::AudioBlock& block) { m_filter.tap(block); });
    if (!tapped->open(input, [this](const QString&) { m_onTapEnded(); }, deadline)) {
        tapped->start(begin);
        m_taps.emplace(input, std::move(tapped));
    }
    // Otherwise the input has gone in between; where it still plays, another change will be told.
}

void PulseOwnSound::drop() {
    m_taps.clear();
}

void PulseOwnSound::finish() {
    drop();
    const PulseLoop::Lock lock(m_loop);
    m_filter.finish();
}

} // namespace platform::linux_desktop
