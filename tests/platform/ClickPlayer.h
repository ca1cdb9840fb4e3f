// Plays a click at every full beat into a sink and knows on the host clock when each is heard: by its own count of the
// frames played and by what the server says about its latency, taken over the whole time.
//   Threads  any; plays on a thread of its own until it ends
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform::linux_desktop {

class ClickPlayer {
public:
    static constexpr double rate = 48000.0;
    static constexpr double beatSeconds = 0.5;
    static constexpr double clickSeconds = 0.001;

    /// Plays into `sink`, or into the default one for an empty name. `asOtherProgram`: the server is told that another
    /// process plays this.
    explicit ClickPlayer(const std::string& sink, bool asOtherProgram = true);
    ~ClickPlayer();

    [[nodiscard]] bool playing() const;
    /// The moments of all clicks handed to the server so far, first those heard first. Host clock, seconds.
    [[nodiscard]] std::vector<double> clicks() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform::linux_desktop
