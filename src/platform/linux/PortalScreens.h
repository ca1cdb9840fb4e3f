// Screens as Qt lists them, and pictures from the desktop portal: the way of a Wayland session, where no program sees
// windows, and pictures need the user's yes.
//   Threads  any; replies of pictures come on a queue of its own
//   Files    the portal leaves each picture in a file for whoever asked; it is read and deleted
//   Errors   a portal that is missing, refuses, or has not answered within the limit is an error in words
#pragma once

#include "base/Dispatch.h"
#include "platform/linux/DesktopBus.h"
#include "platform/linux/QtScreens.h"

#include <memory>

namespace platform::linux_desktop {

class PortalScreens final : public capture::ScreenSource {
public:
    /// Seconds until a picture counts as refused: the portal may be asking the user.
    static constexpr double answerLimit = 60.0;

    /// Made on the main thread, where the portal's signals are heard; `session` and `dispatch` outlive it.
    PortalScreens(base::Dispatch& dispatch, DesktopBus& session);
    ~PortalScreens() override;

    void content(ContentReply reply) override;
    void picture(const capture::Display& display, int width, int height, PictureReply reply) override;

private:
    class Requests;
    QtScreens m_screens;
    std::shared_ptr<Requests> m_requests;
    DesktopBus::Subscription m_answers;
};

} // namespace platform::linux_desktop
