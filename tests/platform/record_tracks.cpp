// record_tracks SECONDS: records microphone and system audio through the real edge, with the meters of a recording, and
// nothing else. bench/sound.py measures it.
#include "base/Output.h"
#include "platform/Recorder.h"

#include <chrono>
#include <cstdlib>
#include <thread>

int main(int count, char** arguments) {
    constexpr std::chrono::milliseconds meterInterval(200);
    const double seconds = count > 1 ? std::atof(arguments[1]) : 10;
    platform::linux_desktop::Recorder recorder;
    if (const auto failure = recorder.start()) {
        base::printLine(*failure);
        return EXIT_FAILURE;
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(meterInterval);
        recorder.readMeters();
    }
    recorder.stop();
    return EXIT_SUCCESS;
}
