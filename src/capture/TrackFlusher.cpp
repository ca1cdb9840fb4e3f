#include "capture/TrackFlusher.h"

#include "base/Files.h"
#include "media/CafFile.h"

#include <atomic>
#include <utility>

namespace capture {

struct TrackFlusher::State {
    std::weak_ptr<media::CafFile> file;
    std::filesystem::path path;
    std::function<void(const media::Error&)> onError;
    std::atomic<bool> waiting = false; // a flush is on its way
    bool folderFlushed = false;        // of the queue

    void flush() {
        waiting = false; // before the flush: what is written during it needs the next one
        const auto living = file.lock();
        if (!living) {
            return;
        }
        if (const auto flushed = living->flush(); !flushed) {
            onError(flushed.error());
        }
        if (!folderFlushed) {
            folderFlushed = base::flushFolder(path.parent_path()).has_value();
        }
    }
};

TrackFlusher::TrackFlusher(std::shared_ptr<base::Scheduler> queue, std::weak_ptr<media::CafFile> file,
                           std::filesystem::path path, std::function<void(const media::Error&)> onError)
    : m_queue(std::move(queue))
    , m_state(std::make_shared<State>()) {
    m_state->file = std::move(file);
    m_state->path = std::move(path);
    m_state->onError = std::move(onError);
}

TrackFlusher::~TrackFlusher() = default;

void TrackFlusher::wrote() {
    if (!m_state->waiting.exchange(true)) {
        m_queue->after(interval, [state = m_state] { state->flush(); });
    }
}

} // namespace capture
