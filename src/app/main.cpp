// The start of the program: what must be settled before anything else, in this order.

#include "app/Application.h"
#include "base/Environment.h"
#include "base/Process.h"
#include "entry/CommandLine.h"
#include "entry/InstanceChannel.h"
#include "entry/SingleInstance.h"
#include "platform/linux/DisplayServer.h"
#include "store/AppPaths.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

namespace {

/// How long a second start waits for the first one to show its window. Seconds.
constexpr double frontLimit = 3.0;

/// Hands over to the instance that works on this data root already; false when there is none.
bool handedOver() {
    const bool applies = !base::Environment::testMode() || base::Environment::testFlag("TARVEX_SINGLE_INSTANCE");
    const auto root = store::AppPaths::root();
    if (!applies || !entry::SingleInstance::claim(root)) {
        return false;
    }
    (void)entry::sayToInstance(root, entry::InstanceChannel::showWord.toString(), frontLimit);
    return true;
}

void printError(const QString& text) {
    std::fputs(text.toLocal8Bit().constData(), stderr);
}

} // namespace

int main(int argc, char* argv[]) {
    base::prepareProcess();
    QStringList arguments;
    for (int index = 1; index < argc; ++index) {
        arguments.append(QString::fromLocal8Bit(argv[index]));
    }
    if (const auto refusal = entry::CommandLine::refusal(arguments, base::Environment::testMode())) {
        printError(*refusal);
        return entry::CommandLine::refused;
    }
    if (handedOver()) {
        return EXIT_SUCCESS;
    }
    if (const auto problem = platform::linux_desktop::displayProblem()) {
        printError(*problem);
        entry::SingleInstance::release(store::AppPaths::root());
        return EXIT_FAILURE;
    }
    const QApplication application(argc, argv);
    app::Application program(entry::CommandLine::parse(arguments));
    return program.run();
}
