// The texts that the Linux desktop needs beyond the tables of the product, in both languages.
//   Use      DesktopCopy::current().noMonitor
//   Threads  any; the two sets are constants
#pragma once

#include "copy/CopyField.h"
#include "copy/FixedText.h"
#include "copy/OnboardingLanguage.h"
#include "copy/TextWith.h"

#include <vector>

namespace copy {

struct DesktopCopy {
    OnboardingLanguage language;

    // Screen
    FixedText noDisplayServer;   ///< neither an X server nor a Wayland compositor answers
    FixedText noScreenCapture;   ///< the session offers no way to take pictures
    FixedText noWaylandPictures; ///< a Wayland session whose portal can't give pictures yet
    FixedText pictureRefused;    ///< the user or the portal said no, or nothing in time
    FixedText displayGone;       ///< unplugged, or turned off
    FixedText pictureUnreadable; ///< its pixels are laid out in a way that is not understood

    // Sound
    FixedText noMonitor;         ///< the default output has no source that plays back what it plays
    FixedText noSoundServer;     ///< no server to connect to
    FixedText soundServerSilent; ///< connected, but an answer is overdue

    // Window
    FixedText lookInSettings; ///< where this desktop has no settings page that could be opened
    FixedText stillRecording; ///< after the window was closed while a recording runs

    // Shutdown
    FixedText savesBeforeShutdown; ///< what the system shows about why it waits

    static const DesktopCopy zh;
    static const DesktopCopy en;

    [[nodiscard]] static const DesktopCopy& of(OnboardingLanguage wanted);
    /// The set in the language of the interface.
    [[nodiscard]] static const DesktopCopy& current();
    /// Every text with its name, in the order above, places unfilled.
    [[nodiscard]] std::vector<CopyField> fields() const;
};

} // namespace copy
