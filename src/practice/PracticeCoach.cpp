#include "practice/PracticeCoach.h"

#include "base/Text.h"
#include "practice/CoachFields_p.h"
#include "practice/StoredNumbers.h"
#include "store/Timestamp.h"

#include <utility>

namespace practice {

using base::Json;

namespace {

constexpr std::int64_t oldestVersion = 1;

std::optional<QString> readText(const Json& value) {
    const auto text = value.toString();
    QString trimmed = text ? base::Text::trimmed(*text) : QString();
    return trimmed.isEmpty() ? std::nullopt : std::optional(std::move(trimmed));
}

std::int64_t versionOf(const Json& root) {
    return Stored::number(root, u"version") ? Stored::integer(root, u"version") : oldestVersion;
}

std::optional<QDateTime> dateAt(const Json& root, QStringView key) {
    const Json* found = root.find(key);
    const auto text = found != nullptr ? found->toString() : std::nullopt;
    return text ? store::Timestamp::parse(*text) : std::nullopt;
}

std::vector<PracticeCoach::Coverage> coverageOf(const Json& root) {
    std::vector<PracticeCoach::Coverage> coverage;
    for (const Json& element : Fields::array(root, u"coverage")) {
        if (auto point = Fields::text(element, u"point", readText)) {
            coverage.push_back(
                {*std::move(point), Fields::flag(element, u"covered"), Fields::text(element, u"note", readText)});
        }
    }
    return coverage;
}

std::vector<PracticeCoach::Rewrite> rewritesOf(const Json& root) {
    std::vector<PracticeCoach::Rewrite> rewrites;
    for (const Json& element : Fields::array(root, u"rewrites")) {
        auto before = Fields::text(element, u"before", readText);
        auto after = Fields::text(element, u"after", readText);
        if (before && after) {
            rewrites.push_back({*std::move(before), *std::move(after), Fields::text(element, u"why", readText)});
        }
    }
    return rewrites;
}

void append(QStringList& lines, const std::optional<QString>& text) {
    if (text) {
        lines.append(*text);
    }
}

} // namespace

std::optional<PracticeCoach> PracticeCoach::parse(QByteArrayView bytes) {
    const auto root = bytes.size() > sizeLimit ? std::unexpected(base::JsonError{}) : base::parseJson(bytes);
    if (!root || !root->isObject()) {
        return std::nullopt;
    }
    const Json* source = root->find(u"source");
    const Json* stats = root->find(u"stats");
    return PracticeCoach{
        .version = versionOf(*root),
        .generatedAt = dateAt(*root, u"generatedAt"),
        .source = source != nullptr ? source->toString() : std::nullopt,
        .transcriptGeneratedAt = dateAt(*root, u"transcriptGeneratedAt"),
        .verdict = Fields::text(*root, u"verdict", readText),
        .focus = Fields::text(*root, u"focus", readText),
        .focusHow = Fields::text(*root, u"focusHow", readText),
        .wentWell = Fields::texts(*root, u"wentWell", readText),
        .coverage = coverageOf(*root),
        .rewrites = rewritesOf(*root),
        .delivery = Fields::texts(*root, u"delivery", readText),
        .stats = stats != nullptr ? PracticeStats::parse(*stats) : std::nullopt,
        .notesIncluded = Fields::flag(*root, u"notesIncluded"),
    };
}

QString PracticeCoach::plainText() const {
    QStringList lines;
    append(lines, verdict);
    append(lines, focus);
    append(lines, focusHow);
    lines += wentWell;
    for (const Coverage& each : coverage) {
        lines.append(each.point);
        append(lines, each.note);
    }
    for (const Rewrite& each : rewrites) {
        lines.append(each.before);
        lines.append(each.after);
        append(lines, each.why);
    }
    lines += delivery;
    return lines.join(u'\n');
}

} // namespace practice
