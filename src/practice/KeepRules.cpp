#include "practice/KeepRules.h"

namespace practice {

using namespace Qt::StringLiterals;

QString choiceName(KeepChoice choice) {
    return choice == KeepChoice::Discard ? u"discard"_s : u"keep"_s;
}

KeepChoice KeepRules::choice(KeepEvent event) {
    return event == KeepEvent::Discard ? KeepChoice::Discard : KeepChoice::Keep;
}

bool KeepRules::queuesNow(KeepEvent event) {
    return event != KeepEvent::Quitting && event != KeepEvent::Generate;
}

} // namespace practice
