#include "entry/StatusItemPrefs.h"

#include <cmath>

namespace entry::StatusItemPrefs {

namespace {

/// A truth value counts as the number that the platform keeps it as.
std::optional<double> storedNumber(const base::PreferenceStore& defaults, const QString& key) {
    const auto value = defaults.value(key);
    if (!value) {
        return std::nullopt;
    }
    if (const auto truth = value->toBool()) {
        return *truth ? 1.0 : 0.0;
    }
    return value->toDouble();
}

} // namespace

void repairHidden(base::PreferenceStore& defaults) {
    const QString key = realVisibleKey.toString();
    if (const auto number = storedNumber(defaults, key); number && std::trunc(*number) == 0.0) {
        defaults.remove(key);
    }
}

void forgetTest(base::PreferenceStore& defaults) {
    for (const QStringView key : testKeys) {
        if (defaults.value(key.toString())) {
            defaults.remove(key.toString());
        }
    }
}

} // namespace entry::StatusItemPrefs
