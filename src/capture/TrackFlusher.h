// Brings what a track has written to the disk about once a second, beside the audio queue. While nothing is written
// nothing is flushed, and no timer runs.
//   Threads  wrote: the audio queue; the flushing itself and `onError`: the queue that is handed in
#pragma once

#include "base/Scheduler.h"
#include "media/Error.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace media {
class CafFile;
}

namespace capture {

class TrackFlusher {
public:
    /// What a power cut can take at most, apart from the time that the disk needs. Seconds.
    static constexpr double interval = 1.0;

    /// `path` names the file: at the first time its folder is flushed too, or a power cut could take the name.
    TrackFlusher(std::shared_ptr<base::Scheduler> queue, std::weak_ptr<media::CafFile> file, std::filesystem::path path,
                 std::function<void(const media::Error&)> onError);
    ~TrackFlusher();

    /// Something was written. Never waits.
    void wrote();

private:
    struct State;
    std::shared_ptr<base::Scheduler> m_queue;
    std::shared_ptr<State> m_state;
};

} // namespace capture
