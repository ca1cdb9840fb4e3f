// One side of bench/search.py: search_peer write|read|keys FOLDER MEETINGS
//   write  makes the library
//   read   opens it as the window does, and prints as JSON how long that took, what it kept the main thread for, and
//          what it keeps in memory
//   keys   types queries key by key, and prints a line of JSON for each: this search, and a plain scan of all folded
//          texts. Ends with 1 if they disagree
#include "SearchLibrary.h"
#include "base/Dispatch.h"
#include "base/MainScheduler.h"
#include "jobs/MeetingSearch.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <limits>
#include <malloc.h>
#include <string>
#include <unistd.h>

namespace {

double secondsOf(clockid_t clock) {
    timespec now{};
    ::clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

std::int64_t residentBytes() {
    ::malloc_trim(0);
    std::ifstream statm("/proc/self/statm");
    std::int64_t all = 0;
    std::int64_t resident = 0;
    statm >> all >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

class NoWatch final : public jobs::FolderWatch {
public:
    [[nodiscard]] bool watch(const std::filesystem::path& /*folder*/) override { return true; }

    void forget(const std::filesystem::path& /*folder*/) override {}
};

/// The main thread's own time between two turns of its loop.
class LongestTurn {
public:
    explicit LongestTurn(base::Scheduler& main) : m_timer(main.every(0.001, [this] { turn(); })) {}

    void turn() {
        const double now = secondsOf(CLOCK_THREAD_CPUTIME_ID);
        m_longest = std::max(m_longest, now - m_last);
        m_last = now;
    }

    [[nodiscard]] double seconds() const { return m_longest; }

private:
    double m_last = secondsOf(CLOCK_THREAD_CPUTIME_ID);
    double m_longest = 0;
    std::unique_ptr<base::Timer> m_timer;
};

int read(const bench::SearchLibrary& library) {
    const auto records = library.records();
    base::MainScheduler main;
    base::ThreadDispatch dispatch(main);
    jobs::MeetingSearch search(
        {.dispatch = dispatch, .watch = [](const auto&) { return std::make_unique<NoWatch>(); }});
    const std::int64_t before = residentBytes();
    LongestTurn longest(main);
    const double start = secondsOf(CLOCK_MONOTONIC);
    search.setRecords(records);
    longest.turn();
    const double told = secondsOf(CLOCK_MONOTONIC);
    while (search.isReading()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    const double wasRead = secondsOf(CLOCK_MONOTONIC);
    while (!search.isSettled()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    longest.turn();
    const double settled = secondsOf(CLOCK_MONOTONIC);
    std::size_t text = 0;
    for (const auto& record : records) {
        text += search.index().text(record.folder)->text.size();
    }
    std::cout << "{\"told\": " << told - start << ", \"read\": " << wasRead - start
              << ", \"settled\": " << settled - start << ", \"longest_turn\": " << longest.seconds()
              << ", \"text_bytes\": " << text << ", \"kept_bytes\": " << search.index().bytes()
              << ", \"resident_bytes\": " << residentBytes() - before << "}\n"
              << std::flush;
    std::_Exit(0); // the blocks need no tidying up
}

std::vector<QString> typedQueries() {
    const auto& english = bench::SearchLibrary::vocabulary(bench::Language::English);
    const auto& chinese = bench::SearchLibrary::vocabulary(bench::Language::Chinese);
    std::vector<QString> queries;
    for (const auto* words : {&english, &chinese}) {
        for (const std::size_t rank : {0U, 3U, 30U, 200U, 250U, 400U, 1'000U, 3'000U, 10'000U, 25'000U}) {
            queries.push_back(words->word(rank));
        }
        queries.push_back(words->word(50) + u' ' + words->word(300));
        queries.push_back(words->word(200) + u' ' + words->word(160) + u' ' + words->word(2'000));
        queries.push_back(words->word(0).toUpper() + words->word(1));
    }
    queries.push_back(english.word(500) + u' ' + chinese.word(5) + u' ' + english.word(2));
    queries.push_back(chinese.word(160) + chinese.word(0) + chinese.word(1));
    return queries;
}

template<typename Work>
double leastSeconds(const Work& work) {
    double least = std::numeric_limits<double>::max();
    for (int i = 0; i < 5; ++i) {
        const double before = secondsOf(CLOCK_THREAD_CPUTIME_ID);
        work();
        least = std::min(least, secondsOf(CLOCK_THREAD_CPUTIME_ID) - before);
    }
    return least;
}

std::size_t plainScan(const std::vector<jobs::SearchIndex::Text>& texts, const std::vector<std::string>& words) {
    std::size_t hits = 0;
    for (const auto& text : texts) {
        hits += std::ranges::all_of(words,
                                    [&](const std::string& word) {
                                        return ::memmem(text->text.data(), text->text.size(), word.data(),
                                                        word.size()) != nullptr;
                                    })
                    ? 1
                    : 0;
    }
    return hits;
}

/// The time of a key that was not pressed before: after the query without it, or as the first one.
double keySeconds(jobs::SearchIndex& index, const jobs::SearchIndex::Text& text, const QString& before,
                  const QString& typed) {
    double least = std::numeric_limits<double>::max();
    for (int i = 0; i < 5; ++i) {
        index.put("/other", text); // so that nothing is remembered
        index.remove("/other");
        if (!before.isNull()) {
            static_cast<void>(index.matches(before));
        }
        const double start = secondsOf(CLOCK_THREAD_CPUTIME_ID);
        static_cast<void>(index.matches(typed));
        least = std::min(least, secondsOf(CLOCK_THREAD_CPUTIME_ID) - start);
    }
    return least;
}

int keys(const bench::SearchLibrary& library) {
    jobs::SearchIndex index;
    std::vector<jobs::SearchIndex::Text> texts;
    for (const auto& record : library.records()) {
        texts.push_back(std::make_shared<const jobs::FoldedMeeting>(jobs::FoldedMeeting::read(record)));
        index.put(record.folder, texts.back());
    }
    for (auto next = index.nextBlock(); !next.empty(); next = index.nextBlock()) {
        index.adopt(std::make_shared<jobs::SearchBlock>(std::move(next)));
    }
    bool agrees = true;
    for (const QString& query : typedQueries()) {
        for (qsizetype length = 1; length <= query.size(); ++length) {
            const QString typed = query.left(length);
            const auto words = jobs::FoldedMeeting::words(typed);
            std::size_t hits = 0;
            const double plain = leastSeconds([&] { hits = plainScan(texts, words); });
            agrees = agrees && index.matches(typed).count() == hits;
            const double alone = keySeconds(index, texts.front(), QString(), typed);
            const double after = keySeconds(index, texts.front(), query.left(length - 1), typed);
            std::cout << "{\"typed\": \"" << typed.toStdString() << "\", \"hits\": " << hits << ", \"plain\": " << plain
                      << ", \"key\": " << std::max(alone, after) << "}\n";
        }
    }
    return agrees ? 0 : 1;
}

} // namespace

int main(int argumentCount, char** arguments) {
    const QCoreApplication application(argumentCount, arguments);
    if (argumentCount != 4) {
        std::cerr << "search_peer write|read|keys FOLDER MEETINGS\n";
        return 2;
    }
    const std::string what = arguments[1];
    bench::SearchLibrary library(arguments[2], std::atoi(arguments[3]));
    if (what == "write") {
        library.write();
        return 0;
    }
    return what == "read" ? read(library) : keys(library);
}
