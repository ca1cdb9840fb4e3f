#include "platform/SoundDesk.h"

#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

namespace platform::linux_desktop {

using namespace Qt::StringLiterals;

namespace {

constexpr int commandLimit = 60'000; // milliseconds; far above what a loaded machine needs

std::pair<int, QString> run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, arguments);
    if (!process.waitForFinished(commandLimit) || process.exitStatus() != QProcess::NormalExit) {
        return {-1, {}};
    }
    return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()).trimmed()};
}

} // namespace

bool SoundDesk::isPipeWire() {
    return qgetenv("BRIEFLET_DESK_SOUND") == "pipewire";
}

QString SoundDesk::pactl(const QStringList& arguments) {
    const auto [code, output] = run(u"pactl"_s, arguments);
    EXPECT_EQ(code, 0) << "pactl " << arguments.join(u' ').toStdString();
    return output;
}

bool SoundDesk::tryPactl(const QStringList& arguments) {
    return run(u"pactl"_s, arguments).first == 0;
}

void SoundDesk::start() {
    EXPECT_EQ(run(u"sound"_s, {u"start"_s}).first, 0);
}

void SoundDesk::kill() {
    EXPECT_EQ(run(u"sound"_s, {u"kill"_s}).first, 0);
}

void SoundDesk::restore() {
    kill();
    start();
}

std::vector<pid_t> SoundDesk::processes() {
    QFile file(qEnvironmentVariable("BRIEFLET_DESK") + u"/sound.pids"_s);
    std::vector<pid_t> found;
    if (file.open(QIODevice::ReadOnly)) {
        for (const auto& line : file.readAll().split('\n')) {
            if (!line.isEmpty()) {
                found.push_back(line.toInt());
            }
        }
    }
    return found;
}

void SoundDesk::hang() {
    for (const pid_t process : processes()) {
        ::kill(process, SIGSTOP);
    }
}

void SoundDesk::resume() {
    for (const pid_t process : processes()) {
        ::kill(process, SIGCONT);
    }
}

QString SoundDesk::load(const QStringList& module) {
    return pactl(QStringList{u"load-module"_s} + module);
}

void SoundDesk::unload(const QString& module) {
    pactl({u"unload-module"_s, module});
}

QString SoundDesk::addMicrophone(const QString& name, int rate, int channels) {
    QStringList sink{u"module-null-sink"_s, u"sink_name=%1-room"_s.arg(name), u"rate=%1"_s.arg(rate),
                     u"channels=%1"_s.arg(channels)};
    if (!isPipeWire()) {
        sink << u"norewinds=1"_s;
    }
    load(sink);
    return load({u"module-remap-source"_s, u"master=%1-room.monitor"_s.arg(name), u"source_name=%1"_s.arg(name),
                 u"rate=%1"_s.arg(rate), u"channels=%1"_s.arg(channels)});
}

} // namespace platform::linux_desktop
