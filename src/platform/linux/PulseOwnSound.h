// Watches who plays into an output and keeps what this program plays out of its monitor.
//   Threads  monitor, changed: the loop's, or with its lock held. The others: the queue of the stream
//   Owns     its taps; the connection must outlive them, so call drop() before that ends
//   Source   docs/system-audio.md
#pragma once

#include "platform/linux/OwnSoundFilter.h"
#include "platform/linux/PulseMonitor.h"

#include <functional>
#include <map>
#include <memory>

namespace platform::linux_desktop {

class PulseOwnSound {
public:
    /// `onTapEnded` (on the loop's thread): check() is due.
    PulseOwnSound(PulseLoop& loop, const capture::AudioFormat& format, OwnSoundFilter::OnBlock onBlock,
                  std::function<void()> onTapEnded);

    /// A block of the monitor; passes on at once unless sound of ours may be in it.
    void monitor(const capture::AudioBlock& block) { m_filter.monitor(block); }

    /// Somebody begins or ends to play, or plays elsewhere. Nothing passes until check() has found out who.
    void changed();

    /// Where sound of ours need not be kept out: lets all pass from the beginning.
    void passAll() { m_filter.known(false); }

    /// Asks who plays into `sink` and taps the others while one of them is this program. True: check again after
    /// OwnSoundFilter::tapDelay.
    [[nodiscard]] bool check(PulseConnection& connection, const PulseConnection::Sink& sink, Deadline deadline);
    /// Ends the taps.
    void drop();
    /// Passes on what is withheld. No more will come.
    void finish();

private:
    void tap(PulseConnection& connection, const PulseConnection::Sink& sink, std::uint32_t input, Deadline deadline);

    PulseLoop& m_loop;
    capture::AudioFormat m_format;
    std::function<void()> m_onTapEnded;
    std::map<std::uint32_t, std::unique_ptr<PulseMonitor>> m_taps; // of the queue; by sink input

    // Touched with the loop's lock held.
    OwnSoundFilter m_filter;
    std::uint64_t m_changes = 0;
};

} // namespace platform::linux_desktop
