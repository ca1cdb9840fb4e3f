// The screens as the window system tells Qt, for sessions whose windows and pictures no program may see.
//   Threads  any; the list is made and replied on the main thread, a refusal at once
//   Errors   every picture is one
#pragma once

#include "base/Scheduler.h"
#include "capture/ScreenSource.h"

#include <QString>

namespace platform::linux_desktop {

class QtScreens final : public capture::ScreenSource {
public:
    /// `main` is the thread of the QGuiApplication and outlives this; `refusal` is what asking for a picture gives.
    QtScreens(base::Scheduler& main, QString refusal);

    void content(ContentReply reply) override;
    void picture(const capture::Display& display, int width, int height, PictureReply reply) override;

    /// A number for a screen that stays the same for as long as its name does; never 0.
    [[nodiscard]] static std::uint32_t idOf(const QString& screenName);

private:
    base::Scheduler& m_main;
    const QString m_refusal;
};

} // namespace platform::linux_desktop
