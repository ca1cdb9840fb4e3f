// Search over all meetings of the library while their files change.
//   Answers  at once, from what has been read so far; onChange tells when that is more or other. The titles, notes and
//            people of records are searched from the moment when they are told, the files when they have been read
//   Reading  beside the main thread. Whether files are to be read again their dates tell, and when to look at these the
//            watch tells; of folders that can't be watched the dates are looked at after each question
//   Cost     on the main thread a few milliseconds for thousands of meetings; see bench/search.py
//   Threads  the main thread, for everything here
//   Owns     two serial queues. Its end waits for what runs on them: a few meetings being read, a block being indexed
#pragma once

#include "base/Dispatch.h"
#include "jobs/ContentDates.h"
#include "jobs/FolderWatch.h"
#include "jobs/SearchIndex.h"
#include "store/MeetingRecord.h"

#include <QStringView>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace jobs {

class MeetingSearch {
public:
    static constexpr const char* readingLabel = "com.orvane.tarvex.search";
    static constexpr const char* indexingLabel = "com.orvane.tarvex.search.index";
    /// One change of a file is told several times in a row. Seconds.
    static constexpr double settleDelay = 0.05;
    /// Meetings that are read or looked at in one task.
    static constexpr std::size_t atOnce = 64;

    struct Parts {
        base::Dispatch& dispatch; ///< must outlive this
        std::function<std::unique_ptr<FolderWatch>(FolderWatch::Handlers)> watch;
    };

    /// What the marks of a row show.
    struct Flags {
        bool hasTranscript = false;
        bool hasSummary = false;
        bool operator==(const Flags&) const = default;
    };

    /// The meetings that match; good until the next change.
    class Found {
    public:
        Found(const SearchIndex& index, MeetingBits places) : m_index(&index), m_places(std::move(places)) {}

        [[nodiscard]] bool has(const std::filesystem::path& folder) const {
            const auto place = m_index->placeOf(folder);
            return place && m_places.has(*place);
        }

        [[nodiscard]] std::size_t count() const { return m_places.count(); }

    private:
        const SearchIndex* m_index;
        MeetingBits m_places;
    };

    explicit MeetingSearch(Parts parts);
    ~MeetingSearch();
    MeetingSearch(const MeetingSearch&) = delete;
    MeetingSearch& operator=(const MeetingSearch&) = delete;

    /// What was found before may be otherwise now: matches, flags.
    std::function<void()> onChange;

    /// The meetings that there are now. New ones are read, those that are there no more forgotten, and of the others
    /// the dates are looked at.
    void setRecords(const std::vector<store::MeetingRecord>& records);
    /// Meetings whose record or texts have every word of the query.
    [[nodiscard]] Found find(QStringView query);
    /// nullopt while its files have not been read.
    [[nodiscard]] std::optional<Flags> contentFlags(const std::filesystem::path& folder) const;

    /// Whether files are being read or looked at.
    [[nodiscard]] bool isReading() const { return m_looking > 0; }

    /// Whether all that was read is part of the index, or too little to be worth it.
    [[nodiscard]] bool isSettled() const { return m_looking == 0 && !m_building && m_staged.empty(); }

    [[nodiscard]] const SearchIndex& index() const { return m_index; }

private:
    using Text = SearchIndex::Text;

    struct Known {
        store::MeetingRecord record;
        Text text;                         ///< the latest one; the index may still have the one before
        std::optional<ContentDates> dates; ///< of the files that were read; nullopt: look again in any case
        std::optional<Flags> flags;
        bool isStaged = false;
        std::uint64_t round = 0; ///< of setRecords
    };

    struct Look {
        store::MeetingRecord record;
        std::optional<ContentDates> known; ///< what was read has these dates
    };

    struct Seen {
        std::filesystem::path folder;
        bool isPractice = false;
        bool isWatched = false;
        std::optional<ContentDates> dates; ///< nullopt: they changed again and again
        Text text;                         ///< nullptr: nothing to read again
    };

    [[nodiscard]] static Seen look(const Look& look, FolderWatch& watch);

    std::optional<ContentDates> take(const store::MeetingRecord& record);
    void forget(const std::string& folder);
    void lookAt(std::vector<Look> looks);
    void lookAtAll();
    void lookAtUnwatched();
    void lookAtChanged();
    void saw(const std::vector<Seen>& seen);
    void take(const Seen& seen);
    void changed(const std::filesystem::path& folder, const std::string& name);
    void settle();
    void indexStaged();
    void buildBlock(std::vector<std::string> folders, std::vector<Text> texts);
    void adopt(const std::vector<std::string>& folders, const std::shared_ptr<SearchBlock>& block);
    void tellChange() const;
    [[nodiscard]] std::function<void(base::Task)> onMain() const;

    base::Dispatch& m_dispatch;
    SearchIndex m_index;
    std::unordered_map<std::string, Known> m_known; ///< by folder
    std::vector<std::string> m_staged;              ///< read, and not yet in the index
    std::set<std::string> m_changed;                ///< told by the watch, and not yet looked at
    std::set<std::string> m_unwatched;              ///< can't be watched
    std::size_t m_looking = 0;                      ///< tasks that look or read
    std::uint64_t m_round = 0;
    bool m_building = false;
    bool m_hasNews = false;                                                   ///< since onChange was called
    std::shared_ptr<const bool> m_alive = std::make_shared<const bool>(true); ///< what comes back late looks here first
    std::shared_ptr<FolderWatch> m_watch;
    std::shared_ptr<base::Scheduler> m_reading; ///< the last ones: their end waits for what runs
    std::shared_ptr<base::Scheduler> m_indexing;
};

} // namespace jobs
