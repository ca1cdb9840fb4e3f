// What the last form was answered with, so that the next one opens the same way. The note is not remembered.
//   Stored   in the preferences: "lastMeetingType" (a text, empty for a form saved without a type) and
//            "lastMeetingPeople" (a list of texts); a value of another type counts as none
//   Threads  any; no state of its own
#pragma once

#include "base/PreferenceStore.h"
#include "copy/FixedText.h"
#include "store/MeetingAnswers.h"

namespace store::FormMemory {

inline constexpr copy::FixedText typeKey = u"lastMeetingType";
inline constexpr copy::FixedText peopleKey = u"lastMeetingPeople";

/// The stored type, if it is among those that now exist.
[[nodiscard]] std::optional<QString> type(const base::PreferenceStore& defaults, const QStringList& valid);
[[nodiscard]] QStringList people(const base::PreferenceStore& defaults);
/// Whether the last form was saved without a type; false before the first form.
[[nodiscard]] bool uncategorized(const base::PreferenceStore& defaults);

void save(const MeetingAnswers& answers, base::PreferenceStore& defaults);

} // namespace store::FormMemory
