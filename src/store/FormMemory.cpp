#include "store/FormMemory.h"

namespace store::FormMemory {

std::optional<QString> type(const base::PreferenceStore& defaults, const QStringList& valid) {
    auto stored = defaults.string(typeKey);
    return stored && valid.contains(*stored) ? stored : std::nullopt;
}

QStringList people(const base::PreferenceStore& defaults) {
    return defaults.stringList(peopleKey).value_or(QStringList());
}

bool uncategorized(const base::PreferenceStore& defaults) {
    const auto stored = defaults.string(typeKey);
    return stored && stored->isEmpty();
}

void save(const MeetingAnswers& answers, base::PreferenceStore& defaults) {
    defaults.set(typeKey, answers.type.value_or(QString()));
    defaults.set(peopleKey, base::Json(answers.people));
}

} // namespace store::FormMemory
