// Plays a click at every beat into a sink and knows on the host clock when each is heard: by its own count of the
// frames played and by what the server says about its latency, taken over the whole time.
//   Threads  any; plays on a thread of its own until it ends
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace platform::linux_desktop {

struct Clicks {
    std::vector<double> moments; ///< when each was heard, in order; host clock, seconds
    double beatSeconds = 0;
};

class ClickPlayer {
public:
    static constexpr double rate = 48000.0;
    static constexpr double usualBeat = 0.5; // seconds
    static constexpr double clickSeconds = 0.001;

    enum class Who { OtherProgram, ThisProgram }; ///< whom the server takes the sound for

    /// Returns when the clicks are being heard.
    explicit ClickPlayer(const std::string& sink, Who who = Who::OtherProgram, double beatSeconds = usualBeat);
    ~ClickPlayer();

    /// All that were handed to the server so far.
    [[nodiscard]] Clicks clicks() const;

private:
    [[nodiscard]] bool playing() const;
    void retryRefused();

    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace platform::linux_desktop
