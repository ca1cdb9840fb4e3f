#include "store/FormModel.h"

#include "base/Text.h"
#include "copy/Strings.h"
#include "store/FormMemory.h"

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace store {

namespace {

namespace Strings = copy::Strings;
using Kind = FormTypeItem::Kind;

std::optional<QString> firstChoice(const TypeStore& types, const base::PreferenceStore& defaults) {
    const auto names = types.names();
    if (names.isEmpty() || FormMemory::uncategorized(defaults)) {
        return std::nullopt;
    }
    return FormMemory::type(defaults, names).value_or(names.first());
}

} // namespace

FormModel::FormModel(PeopleStore& people, TypeStore& types, base::PreferenceStore& defaults)
    : m_people(people)
    , m_types(types)
    , m_defaults(defaults) {
    m_types.load();
    fillTypes(firstChoice(m_types, m_defaults));
    reloadPeople(FormMemory::people(m_defaults));
    if (!m_types.readable()) {
        m_message = m_message.isEmpty() ? QString(Strings::typesBroken) : m_message + u'\n' + Strings::typesBroken;
    }
}

QStringList FormModel::checkedNames() const {
    QStringList names;
    for (const auto& person : m_personItems) {
        if (person.checked) {
            names.append(person.name);
        }
    }
    return names;
}

QString FormModel::typeSummary() const {
    QStringList titles;
    for (const auto& item : m_typeItems) {
        titles.append(item.title);
    }
    QString summary = u"form types: "_s + titles.join(u',') + u" picked: "_s + pickedType().value_or(u"none"_s);
    if (!m_message.isEmpty()) {
        summary += u" message: "_s + m_message;
    }
    return summary;
}

void FormModel::setChecked(std::size_t person, bool checked) {
    m_personItems.at(person).checked = checked;
}

void FormModel::setNewName(const QString& text) {
    m_newName = text;
}

void FormModel::setNote(const QString& text) {
    m_note = text;
}

void FormModel::addName() {
    const auto typed = base::Text::trimmed(m_newName);
    if (typed.isEmpty()) {
        return;
    }
    auto checked = checkedNames(); // the marks survive that the list is made anew
    const auto added = m_people.add(typed);
    if (!added) {
        m_message = errorText(added.error());
        changed();
        return;
    }
    const auto known = std::ranges::find_if(
        m_people.names(), [&typed](const QString& name) { return base::Text::equalIgnoringCase(name, typed); });
    checked.append(known != m_people.names().end() ? *known : typed);
    m_newName.clear();
    m_message.clear();
    reloadPeople(checked);
    changed();
}

FormModel::Picked FormModel::pickType(std::size_t item) {
    switch (m_typeItems.at(item).kind) {
    case Kind::NewType:
        changed(); // the list shows the entry again that was picked before
        return Picked::NewType;
    case Kind::Separator:
        break;
    case Kind::Type:
    case Kind::Uncategorized:
        m_selectedType = item;
    }
    return Picked::Entry;
}

void FormModel::addType(const QString& name) {
    const auto added = m_types.add(name);
    if (!added) {
        m_message = errorText(added.error());
        changed();
        return;
    }
    fillTypes(*added);
    m_message.clear();
    changed();
    if (onTypesChanged) {
        onTypesChanged();
    }
}

void FormModel::typeRenamed(const QString& from, const QString& to) {
    const auto picked = pickedType();
    fillTypes(picked == from ? std::optional(to) : picked);
    changed();
}

void FormModel::fill(const std::optional<QString>& type, const QStringList& newPeople, const QString& note) {
    fillTypes(type);
    for (const auto& name : newPeople) {
        m_newName = name;
        addName();
    }
    m_note = note;
    changed();
}

void FormModel::save() {
    m_types.load();
    MeetingAnswers answers{pickedType(), checkedNames(), m_note};
    // The type may have been removed while the form stood open; a list that can't be read says nothing about that.
    if (m_types.readable() && answers.type && !m_types.names().contains(*answers.type)) {
        answers.type.reset();
    }
    FormMemory::save(answers, m_defaults);
    finish(std::move(answers));
}

void FormModel::skip() {
    finish(std::nullopt);
}

/// Picks "uncategorised" when no type is wanted or the wanted one is gone.
void FormModel::fillTypes(const std::optional<QString>& selecting) {
    m_typeItems.clear();
    for (const auto& type : m_types.file().types) {
        m_typeItems.push_back({Kind::Type, type.name, type.color});
    }
    m_typeItems.push_back({Kind::Uncategorized, Strings::uncategorized, {}});
    m_typeItems.push_back({Kind::Separator, {}, {}});
    m_typeItems.push_back({Kind::NewType, Strings::typeNew, {}});

    const auto isWanted = [&selecting](const FormTypeItem& item) {
        return item.kind == Kind::Uncategorized || (selecting && item.type() == selecting);
    };
    m_selectedType = static_cast<std::size_t>(std::ranges::find_if(m_typeItems, isWanted) - m_typeItems.begin());
}

void FormModel::reloadPeople(const QStringList& checked) {
    m_people.load();
    if (!m_people.readable()) {
        m_message = Strings::peopleBroken;
    }
    m_personItems.clear();
    for (const auto& name : m_people.names()) {
        m_personItems.push_back({name, checked.contains(name)});
    }
}

void FormModel::finish(std::optional<MeetingAnswers> answers) {
    if (std::exchange(m_finished, true)) {
        return;
    }
    if (const auto told = std::exchange(onFinish, nullptr)) {
        told(std::move(answers)); // may destroy this form
    }
}

void FormModel::changed() const {
    if (onChange) {
        onChange();
    }
}

} // namespace store
