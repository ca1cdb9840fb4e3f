#include "entry/RecoveryReport.h"

#include "base/Files.h"
#include "base/Text.h"

namespace entry {

using namespace Qt::StringLiterals;

QStringList recoveryLines(const std::vector<store::Recovery::Outcome>& outcomes) {
    QStringList lines;
    for (const auto& outcome : outcomes) {
        QStringList tracks;
        for (const auto& track : outcome.tracks) {
            tracks.append(track.name + u' ' + base::Text::oneDecimal(track.seconds) + u's');
        }
        lines.append(u"recovered: "_s + base::nameText(outcome.folder) + u' ' + tracks.join(u' '));
        for (const QString& failure : outcome.failures) {
            lines.append(u"recover failed: "_s + failure);
        }
    }
    return lines;
}

} // namespace entry
