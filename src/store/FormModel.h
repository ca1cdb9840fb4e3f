// The rules of the form after a recording: what it shows, and what its fields and buttons do. The window around it
// draws what stands here and forwards what the user does; tests need no window.
//   Threads  the main thread
//   Owns     nothing: the stores and the preferences are shared with the rest of the program and outlive it
//   Files    people.json and types.json are only extended, and never touched when they can't be understood
#pragma once

#include "base/PreferenceStore.h"
#include "store/MeetingAnswers.h"
#include "store/PeopleStore.h"
#include "store/TypeStore.h"

#include <functional>
#include <optional>
#include <vector>

namespace store {

/// One entry of the list of types.
struct FormTypeItem {
    enum class Kind { Type, Uncategorized, Separator, NewType };
    Kind kind = Kind::Type;
    QString title; ///< empty for the separator
    QString color; ///< of a type, as types.json has it
    bool operator==(const FormTypeItem&) const = default;

    /// The type that picking the entry answers with.
    [[nodiscard]] std::optional<QString> type() const {
        return kind == Kind::Type ? std::optional(title) : std::nullopt;
    }
};

/// One name with its check mark.
struct FormPerson {
    QString name;
    bool checked = false;
    bool operator==(const FormPerson&) const = default;
};

class FormModel {
public:
    /// Opens as the last form was answered, as far as its type and its people still exist. The note starts empty.
    FormModel(PeopleStore& people, TypeStore& types, base::PreferenceStore& defaults);
    FormModel(const FormModel&) = delete;
    FormModel& operator=(const FormModel&) = delete;

    /// The types, then "uncategorised", a separator, and the entry that asks for a new type.
    [[nodiscard]] const std::vector<FormTypeItem>& typeItems() const { return m_typeItems; }

    [[nodiscard]] std::size_t selectedType() const { return m_selectedType; } ///< index in typeItems()

    [[nodiscard]] std::optional<QString> pickedType() const { return m_typeItems[m_selectedType].type(); }

    /// In the order of the file. An empty list is shown as a line of text that says so.
    [[nodiscard]] const std::vector<FormPerson>& personItems() const { return m_personItems; }

    [[nodiscard]] QStringList checkedNames() const;

    [[nodiscard]] const QString& newName() const { return m_newName; }

    [[nodiscard]] const QString& note() const { return m_note; }

    [[nodiscard]] const QString& message() const { return m_message; } ///< what went wrong; empty: nothing to show

    [[nodiscard]] bool finished() const { return m_finished; }

    /// One line for self tests: what the list of types offers, what is picked, and the message if there is one.
    [[nodiscard]] QString typeSummary() const;

    void setChecked(std::size_t person, bool checked);
    void setNewName(const QString& text);
    void setNote(const QString& text);
    /// Adds what stands in the field for a new name and ticks it; a known name is only ticked.
    void addName();

    enum class Picked { Entry, NewType }; ///< NewType: ask for a name and give it to addType(); the old entry stays
    Picked pickType(std::size_t item);
    /// The answer to the question for a new type. A cancelled question needs no call.
    void addType(const QString& name);
    /// Told when a type was renamed elsewhere: it stays picked under its new name.
    void typeRenamed(const QString& from, const QString& to);

    /// Fills the form from outside: picks the type, adds each name as if typed, sets the note.
    void fill(const std::optional<QString>& type, const QStringList& newPeople, const QString& note);

    /// Ends the form with its answers, and remembers them for the next one.
    void save();
    /// Ends the form without answers; nothing is remembered.
    void skip();

    /// Called once, by the first save() or skip(): answers, or none when the form was skipped. It may destroy the form.
    std::function<void(std::optional<MeetingAnswers>)> onFinish;
    std::function<void()> onTypesChanged; ///< the form added a type
    std::function<void()> onChange;       ///< what the form shows has changed, other than by the set functions

private:
    void fillTypes(const std::optional<QString>& selecting);
    void reloadPeople(const QStringList& checked);
    void finish(std::optional<MeetingAnswers> answers);
    void changed() const;

    PeopleStore& m_people;
    TypeStore& m_types;
    base::PreferenceStore& m_defaults;
    std::vector<FormTypeItem> m_typeItems;
    std::size_t m_selectedType = 0;
    std::vector<FormPerson> m_personItems;
    QString m_newName;
    QString m_note;
    QString m_message;
    bool m_finished = false;
};

} // namespace store
