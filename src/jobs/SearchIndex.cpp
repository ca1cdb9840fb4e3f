#include "jobs/SearchIndex.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace jobs {

namespace {

/// Whether each word is part of one of the longer ones. Nothing is part of none: an empty word matches nothing.
bool allPartsOf(const std::vector<std::string>& words, const std::vector<std::string>& longer) {
    return std::ranges::all_of(words, [&](const std::string& word) {
        return !word.empty() &&
               std::ranges::any_of(longer, [&](const std::string& each) { return each.contains(word); });
    });
}

} // namespace

void SearchIndex::put(const std::filesystem::path& folder, Text text) {
    m_last.reset();
    const auto [place, isNew] = m_places.try_emplace(folder.native(), Place{0});
    if (isNew) {
        if (m_free.empty()) {
            m_free.push_back(static_cast<Place>(m_entries.size()));
            m_entries.emplace_back();
        }
        place->second = m_free.back();
        m_free.pop_back();
    }
    Entry& entry = m_entries[place->second];
    if (isNew) {
        entry.folder = folder.native();
        ++m_new;
    } else {
        detach(entry);
    }
    entry.text = std::move(text);
}

void SearchIndex::remove(const std::filesystem::path& folder) {
    const auto found = m_places.find(folder.native());
    if (found == m_places.end()) {
        return;
    }
    m_last.reset();
    Entry& entry = m_entries[found->second];
    detach(entry);
    --m_new;
    entry = {};
    m_free.push_back(found->second);
    m_places.erase(found);
}

/// Takes the entry's text out of its block, so that it counts as new.
void SearchIndex::detach(Entry& entry) {
    if (entry.block == noBlock) {
        return;
    }
    Block& block = m_blocks[entry.block];
    block.living.remove(entry.inBlock);
    block.block->forget(entry.inBlock);
    entry.block = noBlock;
    ++m_new;
}

SearchIndex::Text SearchIndex::text(const std::filesystem::path& folder) const {
    const auto place = placeOf(folder);
    return place ? m_entries[*place].text : nullptr;
}

std::optional<SearchIndex::Place> SearchIndex::placeOf(const std::filesystem::path& folder) const {
    const auto found = m_places.find(folder.native());
    return found != m_places.end() ? std::optional(found->second) : std::nullopt;
}

MeetingBits SearchIndex::matches(QStringView query) {
    std::vector<std::string> words = FoldedMeeting::words(query);
    if (!m_last || m_last->words != words) {
        MeetingBits found = search(words);
        m_last = Last{std::move(words), std::move(found)};
    }
    return m_last->found;
}

bool SearchIndex::matches(QStringView query, const std::filesystem::path& folder) {
    const auto place = placeOf(folder);
    return place && matches(query).has(*place);
}

/// Whether nothing can match these words that did not match the last ones.
bool SearchIndex::continuesLast(const std::vector<std::string>& words) const {
    return m_last && allPartsOf(m_last->words, words);
}

MeetingBits SearchIndex::search(const std::vector<std::string>& words) const {
    MeetingBits found(m_entries.size());
    const MeetingBits* within = continuesLast(words) ? &m_last->found : nullptr;
    for (const Block& block : m_blocks) {
        MeetingBits inBlock = block.living;
        if (within != nullptr) {
            block.living.forEach([&](std::size_t number) {
                if (!within->has(block.places[number])) {
                    inBlock.remove(number);
                }
            });
        }
        block.block->narrow(inBlock, words);
        inBlock.forEach([&](std::size_t number) { found.add(block.places[number]); });
    }
    for (Place place = 0; m_new > 0 && place < m_entries.size(); ++place) {
        const Entry& entry = m_entries[place];
        if (entry.text && entry.block == noBlock && (within == nullptr || within->has(place)) &&
            entry.text->matches(words)) {
            found.add(place);
        }
    }
    return found;
}

std::vector<SearchIndex::Text> SearchIndex::livingTexts(const Block& block) const {
    std::vector<Text> texts;
    block.living.forEach([&](std::size_t number) { texts.push_back(block.block->texts()[number]); });
    return texts;
}

std::vector<SearchIndex::Text> SearchIndex::nextBlock(std::size_t few) const {
    std::vector<Text> texts;
    if (m_new <= few) {
        return texts;
    }
    std::size_t left = SearchBlock::mostBytes;
    const auto fits = [&](const Text& text) { return texts.empty() || text->text.size() <= left; };
    const auto take = [&](const Text& text) {
        left -= std::min(left, text->text.size());
        texts.push_back(text);
    };
    for (const Entry& entry : m_entries) {
        if (entry.text && entry.block == noBlock && texts.size() < SearchBlock::mostMeetings && fits(entry.text)) {
            take(entry.text);
        }
    }
    for (const Block& block : m_blocks) {
        const std::size_t living = block.living.count();
        if (living < SearchBlock::mostMeetings / 2 && texts.size() + living <= SearchBlock::mostMeetings) {
            const auto more = livingTexts(block);
            std::size_t bytes = 0;
            for (const Text& text : more) {
                bytes += text->text.size();
            }
            if (bytes <= left) {
                std::ranges::for_each(more, take);
            }
        }
    }
    return texts;
}

void SearchIndex::adopt(std::shared_ptr<SearchBlock> block) {
    m_last.reset();
    std::unordered_multimap<const FoldedMeeting*, Place> placeOfText;
    for (Place place = 0; place < m_entries.size(); ++place) {
        if (m_entries[place].text) {
            placeOfText.emplace(m_entries[place].text.get(), place);
        }
    }
    Block adopted{block, std::vector<Place>(block->texts().size()), MeetingBits(block->texts().size())};
    for (std::uint32_t number = 0; number < block->texts().size(); ++number) {
        const auto found = placeOfText.find(block->texts()[number].get());
        if (found == placeOfText.end()) {
            block->forget(number); // replaced or removed while the block was built
            continue;
        }
        const Place place = found->second;
        placeOfText.erase(found); // meetings may share a text
        adopted.places[number] = place;
        adopted.living.add(number);
        Entry& entry = m_entries[place];
        detach(entry);
        --m_new;
        entry.block = static_cast<std::uint32_t>(m_blocks.size());
        entry.inBlock = number;
    }
    m_blocks.push_back(std::move(adopted));
    dropEmptyBlocks();
}

/// Blocks move up, and so do the numbers by which entries know them.
void SearchIndex::dropEmptyBlocks() {
    std::erase_if(m_blocks, [](const Block& block) { return block.living.isEmpty(); });
    for (std::uint32_t number = 0; number < m_blocks.size(); ++number) {
        const Block& block = m_blocks[number];
        block.living.forEach([&](std::size_t index) { m_entries[block.places[index]].block = number; });
    }
}

std::size_t SearchIndex::bytes() const {
    std::size_t sum = 0;
    for (const Entry& entry : m_entries) {
        sum += sizeof(Entry) + entry.folder.capacity() + (entry.text ? entry.text->text.capacity() : 0);
    }
    for (const Block& block : m_blocks) {
        sum += block.block->indexBytes();
    }
    return sum;
}

} // namespace jobs
