// What a desktop keeps about the tray item by itself: a real item that was once hidden comes back at the next start,
// and the item of a self-test leaves nothing behind.
//   Threads  any; no state
#pragma once

#include "base/PreferenceStore.h"

#include <QStringView>

#include <array>

namespace entry::StatusItemPrefs {

inline constexpr QStringView testName = u"TarvexTest"; ///< the item's name in test mode
inline constexpr QStringView realVisibleKey = u"NSStatusItem VisibleCC Item-0";
inline constexpr std::array<QStringView, 2> testKeys = {u"NSStatusItem VisibleCC TarvexTest",
                                                        u"NSStatusItem Preferred Position TarvexTest"};

/// Forgets that the real item is hidden: a stored number whose whole part is 0.
void repairHidden(base::PreferenceStore& defaults);
void forgetTest(base::PreferenceStore& defaults);

} // namespace entry::StatusItemPrefs
