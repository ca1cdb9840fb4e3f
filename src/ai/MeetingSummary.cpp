#include "ai/MeetingSummary.h"

#include "ai/SummaryPoint_p.h"
#include "base/Text.h"
#include "copy/UserName.h"
#include "store/Timestamp.h"

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace ai {
namespace {

using Action = MeetingSummary::Action;
using ActionGroup = MeetingSummary::ActionGroup;

constexpr std::int64_t oldestVersion = 1;
/// Before this version what is now the notes was one text called "analysis".
constexpr std::int64_t firstVersionWithNotes = 2;

std::optional<QString> readText(const base::Json& value) {
    const auto text = value.toString();
    const QString trimmed = text ? base::Text::trimmed(*text) : QString();
    return trimmed.isEmpty() ? std::nullopt : std::optional(trimmed);
}

std::int64_t versionFrom(const base::Json* value) {
    if (value == nullptr) {
        return oldestVersion;
    }
    if (const auto whole = value->toInteger()) {
        return *whole;
    }
    if (const auto number = value->toDouble()) {
        constexpr double exact = 9007199254740992.0;
        return static_cast<std::int64_t>(std::clamp(*number, -exact, exact));
    }
    bool isNumber = false;
    const auto written = value->toString().value_or(QString()).toLongLong(&isNumber);
    return isNumber ? written : oldestVersion;
}

std::optional<Action> actionFrom(const base::Json& element) {
    if (auto text = readText(element)) {
        return Action{.who = {}, .what = std::move(*text), .due = {}, .mine = false};
    }
    auto what = textAt(element, u"what", readText);
    if (!what) {
        return std::nullopt;
    }
    Action action{
        .who = textAt(element, u"who", readText), .what = std::move(*what), .due = textAt(element, u"due", readText)};
    const auto mine = boolAt(element, u"mine");
    action.mine = mine ? *mine : MeetingSummary::isOwnName(action.who); // which asks the system for the user's name
    return action;
}

QStringList notesFrom(const base::Json& root, std::int64_t version) {
    if (version >= firstVersionWithNotes) {
        return textsAt(root, u"notes", readText);
    }
    const auto analysis = textAt(root, u"analysis", readText);
    return analysis ? QStringList{*analysis} : QStringList{};
}

std::optional<QDateTime> dateAt(const base::Json& root, QStringView key) {
    return stringAt(root, key).and_then(store::Timestamp::parse);
}

std::vector<Action> actionsWhere(const std::vector<Action>& actions, bool mine) {
    std::vector<Action> result;
    std::ranges::copy_if(actions, std::back_inserter(result), [mine](const auto& each) { return each.mine == mine; });
    return result;
}

bool isSamePerson(const std::optional<QString>& left, const std::optional<QString>& right) {
    return left && right ? left->toLower() == right->toLower() : left.has_value() == right.has_value();
}

QStringList numbered(const QStringList& lines) {
    QStringList result;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        result.append(QString::number(i + 1) + u". " + lines[i]);
    }
    return result;
}

QStringList groupLines(const ActionGroup& group, const copy::MainCopy& copy) {
    QStringList lines;
    if (group.who) {
        lines.append(copy.groupLabel(*group.who));
    }
    for (const auto& action : group.actions) {
        const QString due = action.due ? MeetingSummary::dueText(*action.due, copy) : QString();
        lines.append(u"- " + action.what + due);
    }
    return lines;
}

QString section(const QString& title, const QStringList& lines, const copy::MainCopy& copy) {
    return title + u'\n' + (lines.isEmpty() ? copy.nothingHere.toString() : lines.join(u'\n'));
}

} // namespace

std::optional<MeetingSummary> MeetingSummary::parse(QByteArrayView bytes) {
    if (bytes.size() > sizeLimit) {
        return std::nullopt;
    }
    const auto root = base::parseJson(bytes);
    if (!root || !root->isObject()) {
        return std::nullopt;
    }
    MeetingSummary summary;
    summary.version = versionFrom(root->find(u"version"));
    summary.generatedAt = dateAt(*root, u"generatedAt");
    summary.conclusion = textAt(*root, u"conclusion", readText);
    summary.decisions = textsAt(*root, u"decisions", readText);
    for (const auto& element : arrayAt(*root, u"actions")) {
        if (auto action = actionFrom(element)) {
            summary.actions.push_back(std::move(*action));
        }
    }
    for (const auto& element : arrayAt(*root, u"points")) {
        if (auto point = pointFrom(element, readText)) {
            summary.points.push_back(std::move(*point));
        }
    }
    summary.notes = notesFrom(*root, summary.version);
    summary.source = stringAt(*root, u"source");
    summary.transcriptGeneratedAt = dateAt(*root, u"transcriptGeneratedAt");
    summary.notesIncluded = boolAt(*root, u"notesIncluded").value_or(false);
    return summary;
}

QString MeetingSummary::ownName() {
    return copy::UserName::current();
}

bool MeetingSummary::isOwnName(const std::optional<QString>& who) {
    return who && base::Text::trimmedBlanks(*who).compare(ownName(), Qt::CaseInsensitive) == 0;
}

QStringList MeetingSummary::pointTexts() const {
    QStringList texts;
    for (const auto& point : points) {
        texts += point.items;
    }
    return texts;
}

std::vector<Action> MeetingSummary::mineActions() const {
    return actionsWhere(actions, true);
}

std::vector<Action> MeetingSummary::otherActions() const {
    return actionsWhere(actions, false);
}

std::optional<ActionGroup> MeetingSummary::mineGroup() const {
    auto mine = mineActions();
    if (mine.empty()) {
        return std::nullopt;
    }
    const auto named = std::ranges::find_if(mine, [](const auto& action) { return action.who.has_value(); });
    const QString who = named != mine.end() ? *named->who : ownName();
    return ActionGroup{.who = who, .mine = true, .actions = std::move(mine)};
}

std::vector<ActionGroup> MeetingSummary::otherGroups() const {
    std::vector<ActionGroup> groups;
    for (auto& action : otherActions()) {
        const auto group =
            std::ranges::find_if(groups, [&](const auto& each) { return isSamePerson(each.who, action.who); });
        if (group == groups.end()) {
            groups.push_back({.who = action.who, .mine = false, .actions = {action}});
        } else {
            group->actions.push_back(action);
        }
    }
    return groups;
}

std::vector<ActionGroup> MeetingSummary::actionGroups() const {
    auto groups = otherGroups();
    if (auto mine = mineGroup()) {
        groups.insert(groups.begin(), std::move(*mine));
    }
    return groups;
}

std::vector<Action> MeetingSummary::orderedActions() const {
    std::vector<Action> ordered;
    for (const auto& group : actionGroups()) {
        ordered.insert(ordered.end(), group.actions.begin(), group.actions.end());
    }
    return ordered;
}

QString MeetingSummary::pointLine(const Point& point) {
    const QString items = point.items.join(u' ');
    return point.title ? *point.title + u"：" + items : items;
}

QString MeetingSummary::dueText(const QString& due, const copy::MainCopy& copy) {
    return copy.dueFormat(due);
}

QString MeetingSummary::plainText(const copy::MainCopy& copy) const {
    QStringList actionLines;
    for (const auto& group : actionGroups()) {
        actionLines += groupLines(group, copy);
    }
    QStringList pointLines;
    std::ranges::transform(points, std::back_inserter(pointLines), pointLine);
    const QStringList sections{
        section(copy.conclusion, conclusion ? QStringList{*conclusion} : QStringList{}, copy),
        section(copy.decisions, numbered(decisions), copy),
        section(copy.actions, actionLines, copy),
        section(copy.points, numbered(pointLines), copy),
        section(copy.notes, numbered(notes), copy),
    };
    return sections.join(u"\n\n"_s);
}

} // namespace ai
