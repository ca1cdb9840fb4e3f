// The texts of all meetings, searched at each key.
//   Exact    a meeting is found if FoldedMeeting::matches says so of its text, whatever part of the texts is indexed
//   Blocks   new texts are looked through one by one; block by block they become part of an index, which is built
//            elsewhere: nextBlock() says of what, adopt() takes it. Any order of calls is right, only not as fast
//   Cost     of a search: see bench/search.py. A query that goes on where the last one ended looks only at what
//            that one found. Everything else here takes a time that does not depend on the length of the texts
//   Threads  one
#pragma once

#include "jobs/FoldedMeeting.h"
#include "jobs/MeetingBits.h"
#include "jobs/SearchBlock.h"

#include <QStringView>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace jobs {

class SearchIndex {
public:
    using Text = SearchBlock::Text;
    /// Names a meeting for as long as it is in the index.
    using Place = std::uint32_t;

    /// New texts that are not worth a block: looking through them takes no time.
    static constexpr std::size_t fewTexts = 64;

    /// Adds the meeting, or gives it another text.
    void put(const std::filesystem::path& folder, Text text);
    void remove(const std::filesystem::path& folder);
    /// nullptr if it is not there.
    [[nodiscard]] Text text(const std::filesystem::path& folder) const;
    [[nodiscard]] std::optional<Place> placeOf(const std::filesystem::path& folder) const;

    [[nodiscard]] std::size_t size() const { return m_places.size(); }

    /// The places of the meetings that match. All for a query without words.
    [[nodiscard]] MeetingBits matches(QStringView query);
    [[nodiscard]] bool matches(QStringView query, const std::filesystem::path& folder);

    /// Texts that are not in a block.
    [[nodiscard]] std::size_t newTexts() const { return m_new; }

    /// What the next block should be made of: new texts, and those of small or worn blocks, which it then replaces.
    /// Nothing if there are not more than `few` new ones.
    [[nodiscard]] std::vector<Text> nextBlock(std::size_t few = fewTexts) const;
    void adopt(std::shared_ptr<SearchBlock> block);

    /// Of texts and index, without what the allocator adds.
    [[nodiscard]] std::size_t bytes() const;

private:
    static constexpr std::uint32_t noBlock = ~std::uint32_t{0};

    struct Entry {
        std::string folder;
        Text text;                     ///< nullptr: the place is free
        std::uint32_t block = noBlock; ///< number in m_blocks
        std::uint32_t inBlock = 0;
    };

    struct Block {
        std::shared_ptr<SearchBlock> block;
        std::vector<Place> places; ///< by number in the block
        MeetingBits living;        ///< those whose text is still this one
    };

    /// What a search leaves for the next one.
    struct Last {
        std::vector<std::string> words;
        MeetingBits found;
    };

    [[nodiscard]] bool continuesLast(const std::vector<std::string>& words) const;
    [[nodiscard]] MeetingBits search(const std::vector<std::string>& words) const;
    void detach(Entry& entry);
    void dropEmptyBlocks();
    [[nodiscard]] std::vector<Text> livingTexts(const Block& block) const;

    std::vector<Entry> m_entries; ///< by place
    std::vector<Place> m_free;
    std::unordered_map<std::string, Place> m_places; ///< by folder
    std::vector<Block> m_blocks;
    std::size_t m_new = 0;
    std::optional<Last> m_last; ///< empty after every change
};

} // namespace jobs
