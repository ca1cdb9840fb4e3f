#include "selftest/AutoTest.h"

#include "base/Files.h"
#include "base/Output.h"
#include "base/Text.h"
#include "store/MeetingArchive.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace selftest {

namespace fs = std::filesystem;
using namespace Qt::StringLiterals;

namespace {

const QString testNote = u"auto test 自動測試"_s;

/// "%.2f" of the C locale.
QString twoDecimals(double seconds) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.begin(), text.end(), seconds, std::chars_format::fixed, 2).ptr;
    return QString::fromLatin1(text.data(), end - text.begin());
}

void printFailure(const QString& what) {
    base::printLine(QString(u"auto-test failed: "_s + what));
}

} // namespace

AutoTest::AutoTest(const Options& options, base::Dispatch& dispatch, const base::HostClock& clock)
    : m_options(options)
    , m_main(dispatch.main())
    , m_clock(clock) {}

void AutoTest::connect(entry::AppSeams& seams) {
    seams.selfTest.began = [this](entry::RecordingSession& session) { began(session); };
    seams.selfTest.finished = [this](const store::StoppedSession& stopped, const fs::path& folder) {
        report(stopped, folder);
    };
    seams.selfTest.failed = [this](const QString& text) { startFailed(text); };
    seams.selfTest.discarded = [this](const fs::path& folder) { discarded(folder); };
    seams.form.open = [this](const store::StoppedSession&, const entry::FormSeam::Finish& finish) { openForm(finish); };
    seams.form.skipAll = [this] { endForm(std::nullopt); };
    m_aiHasWork = seams.ai.hasWork;
}

void AutoTest::run(const std::shared_ptr<entry::AppDelegate>& app, std::function<void()> quit,
                   std::function<void(int code)> exit) {
    m_app = app;
    m_quit = std::move(quit);
    m_exit = std::move(exit);
    m_launched = m_clock.now();
    app->begin(m_options.practice);
}

void AutoTest::began(entry::RecordingSession& session) {
    const QString seconds = base::Text::oneDecimal(m_clock.now() - m_launched);
    base::printLine(QString(u"recording started "_s + seconds + u" s after launch"_s));
    const auto weak = session.weak_from_this();
    m_main.after(m_options.seconds * micRestartPart, [weak] {
        if (const auto running = weak.lock()) {
            running->restartMicForTest();
        }
    });
    m_main.after(m_options.seconds * shotPart, [weak] {
        if (const auto running = weak.lock()) {
            running->takeShot();
        }
    });
    m_main.after(m_options.seconds, [this, weak] { stop(weak); });
}

void AutoTest::stop(const std::weak_ptr<entry::RecordingSession>& session) {
    const auto running = session.lock();
    const auto app = m_app.lock();
    if (running && app) {
        m_micRestarts = running->micRestarts();
        app->stopRecording();
    }
}

void AutoTest::openForm(const entry::FormSeam::Finish& finish) {
    m_openForm = finish;
    m_main.after(formDelay,
                 [this] { endForm(store::MeetingAnswers{.type = std::nullopt, .people = {}, .note = testNote}); });
}

void AutoTest::endForm(const std::optional<store::MeetingAnswers>& answers) {
    if (const auto finish = std::exchange(m_openForm, nullptr)) {
        finish(answers);
    }
}

void AutoTest::startFailed(const QString& text) {
    printFailure(text);
    m_exit(failed);
}

QString AutoTest::durationLine(const store::StoppedSession& stopped) {
    const QString system = stopped.systemSeconds ? twoDecimals(*stopped.systemSeconds) : u"none"_s;
    return u"duration: "_s + twoDecimals(stopped.duration) + u" mic: "_s + twoDecimals(stopped.micSeconds) +
           u" system: "_s + system + u" shots: "_s + QString::number(stopped.shots);
}

QStringList AutoTest::failures(const fs::path& folder) {
    QStringList found;
    std::error_code ignored;
    if (!fs::exists(folder / "mic.m4a", ignored)) {
        found.append(u"mic.m4a is missing"_s);
    }
    for (const char* caf : {"mic.caf", "system.caf"}) {
        if (fs::exists(folder / caf, ignored)) {
            found.append(u"CAF left behind: "_s + QString::fromLatin1(caf));
        }
    }
    const auto meta = store::MeetingArchive::readMeta(folder);
    if (!meta || meta->end.value_or(QString()).isEmpty()) {
        found.append(u"meta.json has no end"_s);
    }
    return found;
}

void AutoTest::report(const store::StoppedSession& stopped, const fs::path& folder) {
    const auto app = m_app.lock();
    if (!app) {
        return;
    }
    base::printLine(QString(u"folder: "_s + base::pathText(folder)));
    base::printLine(durationLine(stopped));
    base::printLine(QString(u"mic restarts: "_s + QString::number(m_micRestarts)));
    base::printLine(QString(u"mode: "_s + (stopped.practice ? u"practice"_s : u"meeting"_s) + u" forms shown: "_s +
                            QString::number(app->formsShown())));
    for (const QString& warning : app->warnings()) {
        base::printLine(QString(u"warning: "_s + warning));
    }
    base::printLine(app->menuBarIconLine());
    const QStringList found = failures(folder);
    std::ranges::for_each(found, printFailure);
    if (!found.isEmpty()) {
        m_exit(failed);
        return;
    }
    if (stopped.practice) {
        base::printLine(app->mainWindow() != nullptr ? app->mainWindow()->keepCardLine() : QString());
        m_main.after(keepDelay, [this] { answerKeepCard(); });
    } else {
        finish(m_clock.now());
    }
}

void AutoTest::answerKeepCard() {
    const auto app = m_app.lock();
    if (!app) {
        return;
    }
    const auto choice = app->keep().resolve(m_options.keep ? practice::KeepEvent::Keep : practice::KeepEvent::Discard);
    const bool shown = app->mainWindow() != nullptr && app->mainWindow()->keepCardShown();
    base::printLine(QString(u"practice choice: "_s + (choice ? practice::choiceName(*choice) : u"none"_s) +
                            u" keep card: "_s + (shown ? u"shown"_s : u"hidden"_s)));
    finish(m_clock.now());
}

void AutoTest::discarded(const fs::path& folder) {
    std::error_code ignored;
    base::printLine(QString(u"practice discarded: "_s + base::nameText(folder) + u" folder gone="_s +
                            (fs::exists(folder, ignored) ? u"no"_s : u"yes"_s)));
}

void AutoTest::finish(double startedWaiting) {
    const auto app = m_app.lock();
    if (!app) {
        return;
    }
    const bool working = app->recovering() || m_aiHasWork();
    if (working && m_clock.now() - startedWaiting < finishLimit) {
        m_main.after(finishLook, [this, startedWaiting] { finish(startedWaiting); });
    } else {
        m_main.after(endDelay, m_quit);
    }
}

} // namespace selftest
