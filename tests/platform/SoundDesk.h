// The sound server of the private desktop that a test runs on (tests/desk/desk), to be changed, hung and killed.
//   Errors   a command that fails fails the test
#pragma once

#include <QString>
#include <QStringList>

#include <sys/types.h>
#include <vector>

namespace platform::linux_desktop {

class SoundDesk {
public:
    [[nodiscard]] static bool isPipeWire();
    /// Runs `pactl` with these arguments and gives its output, trimmed.
    static QString pactl(const QStringList& arguments);
    /// The same, where failing is one of the ways it may go.
    static bool tryPactl(const QStringList& arguments);
    static void start();
    static void kill(); ///< gives the server no chance to say goodbye
    /// As it was at the beginning, whatever a test has done to it.
    static void restore();
    static void hang();   ///< SIGSTOP for every process of the server
    static void resume(); ///< SIGCONT

    /// Makes a device by a module of the server and gives its number for unload().
    static QString load(const QStringList& module);
    static void unload(const QString& module);
    /// A further microphone, which hears what is played into the sink of that name + "-room".
    static QString addMicrophone(const QString& name, int rate = 48000, int channels = 2);

private:
    [[nodiscard]] static std::vector<pid_t> processes();
};

} // namespace platform::linux_desktop
