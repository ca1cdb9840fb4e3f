// Whether this program may capture, and the two ways to ask for it. The one place that answers.
//   Threads  the main thread; nothing here waits for a device or a server
//   Errors   none: what can't be found out is answered so that the start itself can say what is wrong
#pragma once

#include <QString>
#include <QStringView>

#include <functional>

namespace ui {

class Permissions {
public:
    /// The settings panes as stable identifiers; the desktop's edge knows what opens for them.
    static constexpr QStringView microphonePane =
        u"x-apple.systempreferences:com.apple.preference.security?Privacy_Microphone";
    static constexpr QStringView screenCapturePane =
        u"x-apple.systempreferences:com.apple.preference.security?Privacy_ScreenCapture";

    virtual ~Permissions() = default;

    [[nodiscard]] virtual bool microphoneGranted() const = 0;
    [[nodiscard]] virtual bool screenCaptureGranted() const = 0;
    /// Calls `answer` once on the main thread: inside this call when the answer is known, later otherwise.
    virtual void requestMicrophone(std::function<void(bool granted)> answer) = 0;
    /// Asks the user if the desktop has such a question and it was not answered yet.
    [[nodiscard]] virtual bool requestScreenCapture() = 0;
    /// Opens a settings pane or another address. A text that is no address does nothing.
    virtual void open(const QString& address) = 0;

    /// The name, a blank and a tick or a cross.
    [[nodiscard]] static QString statusLine(const QString& name, bool granted);
};

} // namespace ui
