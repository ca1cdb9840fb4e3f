// clicks [SECONDS]: plays clicks into the room of the microphone and into the loudspeakers of a private desktop,
// records both tracks through the real edge, and says how far the clicks lie from their place. Run it as
//     tests/desk/desk --no-x [--pipewire] build/dev/bin/clicks 600
// Exit code 0 when every click was found, else 1.
#include "base/Output.h"
#include "platform/ClickPlayer.h"
#include "platform/Recorder.h"
#include "platform/TrackListener.h"

#include <chrono>
#include <cstdlib>
#include <thread>

using namespace platform::linux_desktop;
using namespace Qt::StringLiterals;

namespace {

QString milliseconds(double seconds) {
    return QString::number(seconds * 1000, 'f', 2);
}

bool report(const QString& track, const TrackListener::Offsets& offsets) {
    base::printLine(u"%1: %2 of %3 clicks, median %4 ms, worst %5 ms"_s.arg(track)
                        .arg(offsets.seconds.size())
                        .arg(offsets.expected)
                        .arg(milliseconds(offsets.median()), milliseconds(offsets.worst())));
    return offsets.allFound();
}

} // namespace

int main(int count, char** arguments) {
    const double seconds = count > 1 ? std::atof(arguments[1]) : 10;
    const ClickPlayer room("room");
    const ClickPlayer speakers("speakers");
    Recorder recorder;
    if (const auto failure = recorder.start()) {
        base::printLine(*failure);
        return 1;
    }
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    recorder.stop();
    const double from = recorder.startSeconds() + 1;
    const double until = recorder.startSeconds() + seconds - 0.5;
    const auto mic = TrackListener::compare(TrackListener::clicksIn(recorder.micTrack()), room.clicks(),
                                            recorder.startSeconds(), from, until);
    const auto system = TrackListener::compare(TrackListener::clicksIn(recorder.systemTrack()), speakers.clicks(),
                                               recorder.startSeconds(), from, until);
    const bool micWhole = report(u"microphone"_s, mic);
    const bool systemWhole = report(u"system"_s, system);
    base::printLine(u"between the tracks: %1 ms"_s.arg(milliseconds(mic.median() - system.median())));
    return micWhole && systemWhole ? 0 : 1;
}
