#include "platform/linux/DesktopOpener.h"

#include "base/Process.h"
#include "ui/Permissions.h"

#include <QDBusError>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

#include <utility>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

namespace {

/// As a file manager takes it: the bytes of the path itself, whatever they mean as text.
QString addressOf(const std::filesystem::path& folder) {
    return u"file://"_s + QString::fromLatin1(QByteArray::fromStdString(folder.native()).toPercentEncoding("/"));
}

QDBusMessage showFolderCall(const QString& address) {
    const QString service = u"org.freedesktop.FileManager1"_s;
    QDBusMessage call =
        QDBusMessage::createMethodCall(service, u"/org/freedesktop/FileManager1"_s, service, u"ShowFolders"_s);
    call << QStringList{address} << QString();
    return call;
}

/// The parts of $XDG_CURRENT_DESKTOP, which are separated by colons.
bool isOneOf(const QString& desktop, const QStringList& names) {
    for (const QString& part : desktop.split(u':')) {
        if (names.contains(part, Qt::CaseInsensitive)) {
            return true;
        }
    }
    return false;
}

/// The shell is there for the file mode mask alone: what the user saves in that program must not become private because
/// we are.
bool startWithUsualModes(const QString& program, const QStringList& arguments) {
    const QString script = u"umask "_s + QString::number(base::inheritedFileMask(), 8) + u"; exec \"$0\" \"$@\""_s;
    return QProcess::startDetached(u"/bin/sh"_s, QStringList{u"-c"_s, script, program} + arguments);
}

} // namespace

DesktopOpener::DesktopOpener(DesktopBus& session, base::Scheduler& main, Start start)
    : m_session(session)
    , m_main(main)
    , m_start(std::move(start)) {}

void DesktopOpener::openFolder(const std::filesystem::path& folder) {
    const QString address = addressOf(folder);
    m_session.call(showFolderCall(address), [main = &m_main, start = m_start, address](const QDBusMessage& reply) {
        // A file manager that takes long to start has been asked all the same.
        const bool late = reply.errorName() == QDBusError::errorString(QDBusError::NoReply) ||
                          reply.errorName() == QDBusError::errorString(QDBusError::Timeout);
        if (reply.type() != QDBusMessage::ReplyMessage && !late) {
            main->post([start, address] { (void)start(commandsForAddress(address)); });
        }
    });
}

void DesktopOpener::openURL(const QString& address) {
    const QUrl url(address, QUrl::StrictMode);
    if (url.isValid() && !url.isRelative()) {
        (void)m_start(commandsForAddress(url.toString(QUrl::FullyEncoded)));
    }
}

bool DesktopOpener::openPane(const QString& pane) {
    return m_start(commandsForPane(pane, qEnvironmentVariable("XDG_CURRENT_DESKTOP")));
}

bool DesktopOpener::startFirst(const std::vector<Command>& commands) {
    for (const Command& command : commands) {
        const QString program = QStandardPaths::findExecutable(command.front());
        if (!program.isEmpty() && startWithUsualModes(program, command.sliced(1))) {
            return true;
        }
    }
    return false;
}

std::vector<Command> DesktopOpener::commandsForAddress(const QString& address) {
    return {{u"xdg-open"_s, address}, {u"gio"_s, u"open"_s, address}};
}

std::vector<Command> DesktopOpener::commandsForPane(const QString& pane, const QString& desktop) {
    const bool sound = pane == ui::Permissions::microphonePane;
    const bool screen = pane == ui::Permissions::screenCapturePane;
    if (!sound && !screen) {
        return {};
    }
    if (isOneOf(desktop, {u"GNOME"_s, u"Unity"_s, u"Budgie"_s, u"Pantheon"_s})) {
        return {{u"gnome-control-center"_s, sound ? u"sound"_s : u"privacy"_s}};
    }
    if (screen) {
        return {}; // the other desktops have no settings of who may see the screen
    }
    std::vector<Command> commands;
    if (isOneOf(desktop, {u"KDE"_s})) {
        commands = {{u"systemsettings"_s, u"kcm_pulseaudio"_s}, {u"systemsettings5"_s, u"kcm_pulseaudio"_s}};
    } else if (isOneOf(desktop, {u"X-Cinnamon"_s, u"Cinnamon"_s})) {
        commands = {{u"cinnamon-settings"_s, u"sound"_s}};
    } else if (isOneOf(desktop, {u"MATE"_s})) {
        commands = {{u"mate-volume-control"_s}};
    }
    commands.push_back({u"pavucontrol"_s});
    commands.push_back({u"pavucontrol-qt"_s});
    return commands;
}

} // namespace platform::linux_desktop
