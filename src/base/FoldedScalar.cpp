#include "base/FoldedScalar_p.h"

#include <QChar>
#include <QList>
#include <QString>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

namespace base::TextSearch {

namespace {

constexpr std::size_t pageSize = 256;
constexpr std::size_t pageCount = 0x110000 / pageSize;

using Page = std::array<FoldedScalar, pageSize>;

QString textOf(std::u32string_view scalars) {
    QString text; // made one by one: as a whole, a byte-order mark in front would be taken for one
    for (const char32_t scalar : scalars) {
        text += QChar::fromUcs4(scalar);
    }
    return text;
}

/// Letters like "ß" that several stand for in capitals, as these in small letters; any other one as it is. Qt folds one
/// letter to one.
std::u32string spelledOut(char32_t folded) {
    const QString letter = textOf({&folded, 1});
    const QString capitals = letter.toUpper();
    return (capitals.size() > letter.size() ? capitals.toCaseFolded() : letter).toStdU32String();
}

bool isMark(char32_t scalar) {
    const auto category = QChar::category(scalar);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining ||
           category == QChar::Mark_Enclosing;
}

/// Vowels and final consonants of Korean, which make a syllable together with the letters before them.
bool isMedialOrFinalJamo(char32_t scalar) {
    return (scalar >= 0x1160 && scalar <= 0x11FF) || (scalar >= 0xD7B0 && scalar <= 0xD7FF);
}

FoldedScalar fold(char32_t scalar) {
    using Role = FoldedScalar::Role;
    FoldedScalar folded;
    if (QChar::combiningClass(scalar) != 0) {
        folded.role = Role::Mark;
        return folded;
    }
    folded.role = isMark(scalar) || isMedialOrFinalJamo(scalar) ? Role::Joining : Role::Base;
    const std::u32string text = foldedTogether(withoutMarks(scalar));
    folded.length = static_cast<std::uint8_t>(std::min(text.size(), folded.scalars.size()));
    std::copy_n(text.begin(), folded.length, folded.scalars.begin());
    return folded;
}

const Page& pageOf(std::size_t number) {
    static std::array<std::atomic<const Page*>, pageCount> pages{};
    std::atomic<const Page*>& place = pages[number];
    if (const Page* made = place.load(std::memory_order_acquire)) {
        return *made;
    }
    auto page = std::make_unique<Page>();
    for (std::size_t index = 0; index < pageSize; ++index) {
        (*page)[index] = fold(static_cast<char32_t>(number * pageSize + index));
    }
    const Page* winner = nullptr;
    if (place.compare_exchange_strong(winner, page.get(), std::memory_order_acq_rel)) {
        winner = page.release(); // the one that stays for as long as the process runs
    }
    return *winner;
}

} // namespace

const FoldedScalar& foldedScalar(char32_t scalar) {
    if (scalar > 0x10FFFF || QChar::isSurrogate(scalar)) {
        scalar = QChar::ReplacementCharacter;
    }
    return pageOf(scalar / pageSize)[scalar % pageSize];
}

std::u32string withoutMarks(char32_t scalar) {
    std::u32string kept;
    for (const char32_t part : textOf({&scalar, 1}).normalized(QString::NormalizationForm_D).toUcs4()) {
        if (QChar::combiningClass(part) == 0) {
            kept += part;
        }
    }
    return kept;
}

std::u32string foldedTogether(std::u32string_view unmarked) {
    // Composed again, a Korean syllable is not found by its first letters.
    const QString composed = textOf(unmarked).normalized(QString::NormalizationForm_C);
    std::u32string folded;
    for (const char32_t scalar : composed.toCaseFolded().toUcs4()) {
        folded += spelledOut(scalar);
    }
    return folded;
}

} // namespace base::TextSearch
