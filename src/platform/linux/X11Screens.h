// Monitors, windows and pictures of an X server, through a connection of its own.
//   Threads  any; the work is done on a queue of its own, and replies come there
//   Idle     nothing runs between two requests
//   Errors   a server that is gone or silent is an error of each request that meets it, within seconds; the next
//            request tries to connect again
#pragma once

#include "base/Dispatch.h"
#include "capture/ScreenSource.h"

#include <memory>

namespace platform::linux_desktop {

class X11Screens final : public capture::ScreenSource {
public:
    /// Seconds that the server may take for one of the replies that a request needs.
    static constexpr double replyLimit = 5.0;

    explicit X11Screens(base::Dispatch& dispatch, double replyLimitSeconds = replyLimit);
    ~X11Screens() override; ///< replies still owed are dropped, also that of a request under way

    void content(ContentReply reply) override;
    void picture(const capture::Display& display, int width, int height, PictureReply reply) override;

private:
    class Worker;
    std::shared_ptr<Worker> m_worker;
    std::shared_ptr<base::Scheduler> m_queue;
};

} // namespace platform::linux_desktop
