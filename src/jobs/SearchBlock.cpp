#include "jobs/SearchBlock.h"

#include "jobs/DenseTerms_p.h"
#include "jobs/SearchTerms_p.h"
#include "jobs/SpacedTerms_p.h"

#include <cstring>
#include <limits>
#include <string>
#include <utility>

namespace jobs {

namespace {

using SearchTerms::Kind;
using SearchTerms::Meeting;

static_assert(SearchBlock::mostMeetings - 1 <= std::numeric_limits<Meeting>::max());

struct Builders {
    SpacedTerms::Builder spaced;
    DenseTerms::Builder dense;
};

Builders termsOf(const std::vector<SearchBlock::Text>& texts) {
    Builders builders;
    std::vector<std::string_view> words;
    for (std::size_t index = 0; index < texts.size(); ++index) {
        words.clear();
        SearchTerms::forEachRun(texts[index]->text, [&](Kind kind, std::string_view run) {
            if (kind == Kind::Spaced) {
                words.push_back(run);
            } else if (kind == Kind::Dense) {
                builders.dense.add(run);
            }
        });
        builders.spaced.add(words, static_cast<Meeting>(index));
        builders.dense.endMeeting();
    }
    return builders;
}

bool contains(std::string_view text, std::string_view word) {
    return ::memmem(text.data(), text.size(), word.data(), word.size()) != nullptr;
}

} // namespace

struct SearchBlock::Index {
    Index(Builders builders, std::size_t meetings)
        : spaced(std::move(builders.spaced), meetings)
        , dense(std::move(builders.dense)) {}

    /// Takes away of `found` only what does not have the word. Whether what is left has it for sure.
    bool narrow(MeetingBits& found, std::string_view word) const {
        std::size_t runs = 0;
        bool isSure = true;
        SearchTerms::forEachRun(word, [&](Kind kind, std::string_view run) {
            ++runs;
            switch (kind) {
            case Kind::Blank:
                isSure = false;
                break;
            case Kind::Spaced:
                spaced.narrow(found, run);
                break;
            case Kind::Dense:
                isSure = dense.narrow(found, run) && isSure;
                break;
            }
        });
        return isSure && runs == 1;
    }

    SpacedTerms spaced;
    DenseTerms dense;
};

SearchBlock::SearchBlock(std::vector<Text> texts)
    : m_texts(std::move(texts))
    , m_index(std::make_unique<const Index>(termsOf(m_texts), m_texts.size())) {}

SearchBlock::~SearchBlock() = default;

void SearchBlock::narrow(MeetingBits& found, const std::vector<std::string>& words) const {
    std::vector<std::string_view> open;
    for (const std::string& word : words) {
        if (word.empty()) {
            found = MeetingBits(m_texts.size());
        } else if (!m_index->narrow(found, word)) {
            open.push_back(word);
        }
    }
    for (const std::string_view word : open) {
        MeetingBits with = found;
        found.forEach([&](std::size_t meeting) {
            if (!contains(m_texts[meeting]->text, word)) {
                with.remove(meeting);
            }
        });
        found = std::move(with);
    }
}

std::size_t SearchBlock::indexBytes() const {
    return m_index->spaced.bytes() + m_index->dense.bytes();
}

} // namespace jobs
