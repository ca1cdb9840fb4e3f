#include "jobs/MeetingSearch.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace jobs {

namespace {

constexpr std::array<std::string_view, 4> contentFiles{"notes.md", "summary.json", "coach.json", "transcript.json"};

/// Files that change while they are read are read again, but not for ever: their next change is told anyway.
constexpr int readAttempts = 3;

bool hasOwnTextOf(const FoldedMeeting& text, const store::MeetingRecord& record) {
    return std::string_view(text.text).substr(0, text.ownLength) == FoldedMeeting::of(record).text;
}

} // namespace

MeetingSearch::MeetingSearch(Parts parts)
    : m_dispatch(parts.dispatch)
    , m_watch(parts.watch(
          {.onChange = [this](const std::filesystem::path& folder, const std::string& name) { changed(folder, name); },
           .onLost = [this] { lookAtAll(); }}))
    , m_reading(m_dispatch.makeSerialQueue(readingLabel, base::Priority::Utility))
    , m_indexing(m_dispatch.makeSerialQueue(indexingLabel, base::Priority::Utility)) {}

MeetingSearch::~MeetingSearch() = default;

std::function<void(base::Task)> MeetingSearch::onMain() const {
    return [&main = m_dispatch.main(), alive = std::weak_ptr(m_alive)](base::Task task) {
        main.post([alive, task = std::move(task)] {
            if (!alive.expired()) {
                task();
            }
        });
    };
}

// --- What there is

void MeetingSearch::setRecords(const std::vector<store::MeetingRecord>& records) {
    ++m_round;
    std::vector<Look> looks;
    looks.reserve(records.size());
    for (const store::MeetingRecord& record : records) {
        looks.push_back({record, take(record)});
    }
    std::vector<std::string> gone;
    for (const auto& [folder, known] : m_known) {
        if (known.round != m_round) {
            gone.push_back(folder);
        }
    }
    std::ranges::for_each(gone, [this](const std::string& folder) { forget(folder); });
    lookAt(std::move(looks));
}

/// Makes the record searchable, and tells the dates of its files as far as they have been read.
std::optional<ContentDates> MeetingSearch::take(const store::MeetingRecord& record) {
    Known& known = m_known[record.folder.native()];
    known.round = m_round;
    if (!known.text) {
        known.text = std::make_shared<const FoldedMeeting>(FoldedMeeting::of(record));
        m_index.put(record.folder, known.text);
    } else if (known.record != record && !hasOwnTextOf(*known.text, record)) {
        known.text = std::make_shared<const FoldedMeeting>(known.text->withOwnTextOf(record));
        m_index.put(record.folder, known.text);
    }
    if (known.record.practice != record.practice) {
        known.dates.reset(); // another file counts
    }
    known.record = record;
    return known.dates;
}

void MeetingSearch::forget(const std::string& folder) {
    m_known.erase(folder);
    m_changed.erase(folder);
    m_unwatched.erase(folder);
    std::erase(m_staged, folder);
    m_index.remove(folder);
    m_watch->forget(folder);
}

MeetingSearch::Found MeetingSearch::find(QStringView query) {
    lookAtUnwatched();
    return {m_index, m_index.matches(query)};
}

std::optional<MeetingSearch::Flags> MeetingSearch::contentFlags(const std::filesystem::path& folder) const {
    const auto known = m_known.find(folder.native());
    return known != m_known.end() ? known->second.flags : std::nullopt;
}

// --- Looking at files

MeetingSearch::Seen MeetingSearch::look(const Look& look, FolderWatch& watch) {
    const store::MeetingRecord& record = look.record;
    Seen seen{.folder = record.folder, .isPractice = record.practice, .isWatched = false, .dates = {}, .text = {}};
    // First, so that no change falls between looking and watching.
    seen.isWatched = watch.watch(record.folder);
    ContentDates dates = ContentDates::of(record);
    if (look.known == dates) {
        seen.dates = dates;
        return seen;
    }
    for (int attempt = 0; attempt < readAttempts && !seen.dates; ++attempt) {
        seen.text = std::make_shared<const FoldedMeeting>(FoldedMeeting::read(record));
        const ContentDates after = ContentDates::of(record);
        if (after == dates) {
            seen.dates = dates;
        }
        dates = after;
    }
    return seen;
}

void MeetingSearch::lookAt(std::vector<Look> looks) {
    for (std::size_t from = 0; from < looks.size(); from += atOnce) {
        const auto first = looks.begin() + static_cast<std::ptrdiff_t>(from);
        const auto last = first + static_cast<std::ptrdiff_t>(std::min(atOnce, looks.size() - from));
        std::vector<Look> some(std::make_move_iterator(first), std::make_move_iterator(last));
        ++m_looking;
        m_reading->post([this, post = onMain(), watch = m_watch, some = std::move(some)] {
            std::vector<Seen> seen;
            seen.reserve(some.size());
            for (const Look& each : some) {
                seen.push_back(look(each, *watch));
            }
            post([this, seen = std::move(seen)] { saw(seen); });
        });
    }
}

void MeetingSearch::lookAtAll() {
    std::vector<Look> looks;
    for (const auto& [folder, known] : m_known) {
        looks.push_back({known.record, known.dates});
    }
    lookAt(std::move(looks));
}

/// One round at a time: what changes during it is seen after the next question.
void MeetingSearch::lookAtUnwatched() {
    if (isReading()) {
        return;
    }
    std::vector<Look> looks;
    for (const std::string& folder : m_unwatched) {
        const Known& known = m_known.at(folder);
        looks.push_back({known.record, known.dates});
    }
    lookAt(std::move(looks));
}

void MeetingSearch::changed(const std::filesystem::path& folder, const std::string& name) {
    if (std::ranges::find(contentFiles, name) == contentFiles.end() || !m_known.contains(folder.native())) {
        return;
    }
    if (m_changed.empty()) {
        m_dispatch.main().after(settleDelay, [this, alive = std::weak_ptr(m_alive)] {
            if (!alive.expired()) {
                lookAtChanged();
            }
        });
    }
    m_changed.insert(folder.native());
}

void MeetingSearch::lookAtChanged() {
    std::vector<Look> looks;
    for (const std::string& folder : std::exchange(m_changed, {})) {
        // Whatever the dates say: two changes in one tick of the file system's clock have the same.
        looks.push_back({m_known.at(folder).record, std::nullopt});
    }
    lookAt(std::move(looks));
}

void MeetingSearch::saw(const std::vector<Seen>& seen) {
    --m_looking;
    std::ranges::for_each(seen, [this](const Seen& each) { take(each); });
    settle();
}

void MeetingSearch::take(const Seen& seen) {
    const auto found = m_known.find(seen.folder.native());
    if (found == m_known.end()) {
        m_watch->forget(seen.folder); // it went while its files were looked at
        return;
    }
    Known& known = found->second;
    if (seen.isWatched) {
        m_unwatched.erase(found->first);
    } else {
        m_unwatched.insert(found->first);
    }
    if (known.record.practice != seen.isPractice) {
        return; // another look is on its way
    }
    known.dates = seen.dates;
    if (!seen.text) {
        return;
    }
    const Flags flags{seen.text->hasTranscript, seen.text->hasSummary};
    m_hasNews = m_hasNews || known.flags != flags;
    known.flags = flags;
    known.text = hasOwnTextOf(*seen.text, known.record)
                     ? seen.text
                     : std::make_shared<const FoldedMeeting>(seen.text->withOwnTextOf(known.record));
    if (!std::exchange(known.isStaged, true)) {
        m_staged.push_back(found->first);
    }
}

// --- Bringing texts into the index

/// Few texts are searched as they are. Many wait for their index, so that a question in the meantime takes no longer;
/// until then the texts before them are searched.
void MeetingSearch::settle() {
    if (!m_building) {
        if (m_staged.size() > SearchIndex::fewTexts && (!isReading() || m_staged.size() >= SearchBlock::mostMeetings)) {
            indexStaged();
        } else if (!isReading()) {
            for (const std::string& folder : std::exchange(m_staged, {})) {
                Known& known = m_known.at(folder);
                known.isStaged = false;
                m_index.put(folder, known.text);
                m_hasNews = true;
            }
            if (auto texts = m_index.nextBlock(); !texts.empty()) {
                buildBlock({}, std::move(texts));
            }
        }
    }
    if (!isReading() && std::exchange(m_hasNews, false)) {
        tellChange();
    }
}

void MeetingSearch::indexStaged() {
    std::vector<std::string> folders;
    std::vector<Text> texts;
    std::size_t bytes = 0;
    auto next = m_staged.begin();
    for (; next != m_staged.end() && texts.size() < SearchBlock::mostMeetings; ++next) {
        Known& known = m_known.at(*next);
        bytes += known.text->text.size();
        if (!texts.empty() && bytes > SearchBlock::mostBytes) {
            break;
        }
        known.isStaged = false;
        texts.push_back(known.text);
        folders.push_back(std::move(*next));
    }
    m_staged.erase(m_staged.begin(), next);
    buildBlock(std::move(folders), std::move(texts));
}

/// `folders` are those whose texts are not yet in the index.
void MeetingSearch::buildBlock(std::vector<std::string> folders, std::vector<Text> texts) {
    m_building = true;
    m_indexing->post([this, post = onMain(), folders = std::move(folders), texts = std::move(texts)]() mutable {
        auto block = std::make_shared<SearchBlock>(std::move(texts));
        post([this, folders = std::move(folders), block = std::move(block)] { adopt(folders, block); });
    });
}

void MeetingSearch::adopt(const std::vector<std::string>& folders, const std::shared_ptr<SearchBlock>& block) {
    m_building = false;
    for (std::size_t i = 0; i < folders.size(); ++i) {
        const auto known = m_known.find(folders[i]);
        if (known != m_known.end() && known->second.text == block->texts()[i]) {
            m_index.put(folders[i], known->second.text);
        }
    }
    m_index.adopt(block);
    if (!folders.empty()) {
        m_hasNews = false;
        tellChange();
    }
    settle();
}

void MeetingSearch::tellChange() const {
    if (const auto tell = onChange) { // a copy, since it may be set anew
        tell();
    }
}

} // namespace jobs
