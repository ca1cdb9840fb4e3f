#include "store/TypeStore.h"

#include "base/Text.h"
#include "copy/Strings.h"
#include "store/ListFile.h"
#include "store/TypeColor.h"
#include "store/TypeRewrite.h"

#include <algorithm>

namespace store {

namespace {

using Kind = TypeError::Kind;

std::unexpected<TypeFailure> refused(Kind kind, const QString& name = {}) {
    return std::unexpected(TypeFailure(TypeError{kind, name}));
}

} // namespace

QStringList TypeStore::names() const {
    QStringList result;
    for (const auto& type : m_file.types) {
        result.append(type.name);
    }
    return result;
}

std::optional<MeetingType> TypeStore::type(QStringView named) const {
    const auto found = std::ranges::find(m_file.types, named, &MeetingType::name);
    return found == m_file.types.end() ? std::nullopt : std::optional(*found);
}

QString TypeStore::nextColor() const {
    const auto isFree = [this](TypeColor color) {
        return std::ranges::find(m_file.types, QString(rawValue(color)), &MeetingType::color) == m_file.types.end();
    };
    const auto found = std::ranges::find_if(allTypeColors, isFree);
    return rawValue(found == allTypeColors.end() ? TypeColor::gray : *found);
}

void TypeStore::ensureFile() {
    ensureListFile(m_url, TypesFile::seed().data());
}

void TypeStore::load() {
    auto reading = readListFile<TypesFile>(m_url);
    m_readable = reading.readable;
    if (reading.content) {
        m_file = std::move(*reading.content);
    } else {
        m_file = m_readable ? TypesFile::seed() : TypesFile{};
    }
}

TypeStore::Result<QString> TypeStore::add(const QString& name, const std::optional<QString>& color) {
    if (const auto loaded = loadForChange(); !loaded) {
        return std::unexpected(loaded.error());
    }
    auto cleaned = clean(name, std::nullopt);
    if (!cleaned) {
        return cleaned;
    }
    auto changed = m_file;
    changed.types.push_back({*cleaned, color.value_or(nextColor())});
    if (const auto written = write(std::move(changed)); !written) {
        return std::unexpected(written.error());
    }
    return cleaned;
}

TypeStore::Result<TypeChange> TypeStore::rename(const QString& name, const QString& to,
                                                const base::fs::path& meetings) {
    const auto started = startRename(name, to, meetings);
    if (!started) {
        return std::unexpected(started.error());
    }
    const auto& walk = *started;
    return walk ? TypeRewrite::run(*walk) : TypeChange{};
}

TypeStore::Result<TypeChange> TypeStore::remove(const QString& name, const base::fs::path& meetings) {
    const auto started = startRemoval(name, meetings);
    if (!started) {
        return std::unexpected(started.error());
    }
    return TypeRewrite::run(*started);
}

TypeStore::Result<std::optional<TypeRename>> TypeStore::startRename(const QString& name, const QString& to,
                                                                    const base::fs::path& meetings) {
    if (const auto loaded = loadForChange(); !loaded) {
        return std::unexpected(loaded.error());
    }
    const auto index = indexOf(name);
    if (!index) {
        return std::unexpected(index.error());
    }
    const auto cleaned = clean(to, name);
    if (!cleaned) {
        return std::unexpected(cleaned.error());
    }
    if (*cleaned == name) {
        return std::nullopt;
    }
    auto changed = m_file;
    changed.types[*index].name = *cleaned;
    if (const auto written = write(std::move(changed)); !written) {
        return std::unexpected(written.error());
    }
    return TypeRename{meetings, name, *cleaned};
}

TypeStore::Result<TypeRename> TypeStore::startRemoval(const QString& name, const base::fs::path& meetings) {
    if (const auto loaded = loadForChange(); !loaded) {
        return std::unexpected(loaded.error());
    }
    if (const auto index = indexOf(name); !index) {
        return std::unexpected(index.error());
    }
    auto changed = m_file;
    std::erase_if(changed.types, [&name](const MeetingType& type) { return type.name == name; });
    if (const auto written = write(std::move(changed)); !written) {
        return std::unexpected(written.error());
    }
    return TypeRename{meetings, name, std::nullopt};
}

TypeStore::Result<void> TypeStore::setColor(const QString& color, QStringView name) {
    if (const auto loaded = loadForChange(); !loaded) {
        return loaded;
    }
    const auto index = indexOf(name);
    if (!index) {
        return std::unexpected(index.error());
    }
    auto changed = m_file;
    changed.types[*index].color = color;
    return write(std::move(changed));
}

TypeStore::Result<void> TypeStore::move(qsizetype from, qsizetype to) {
    if (const auto loaded = loadForChange(); !loaded) {
        return loaded;
    }
    auto changed = m_file;
    if (from < 0 || from >= std::ssize(changed.types)) {
        return {};
    }
    auto type = std::move(changed.types[static_cast<std::size_t>(from)]);
    changed.types.erase(changed.types.begin() + from);
    const auto place = std::clamp<qsizetype>(to, 0, std::ssize(changed.types));
    changed.types.insert(changed.types.begin() + place, std::move(type));
    return write(std::move(changed));
}

int TypeStore::count(const std::optional<QString>& type, std::span<const MeetingRecord> meetings) {
    return static_cast<int>(std::ranges::count(meetings, type, &MeetingRecord::type));
}

TypeStore::Result<void> TypeStore::loadForChange() {
    load();
    if (!m_readable) {
        return refused(Kind::unreadable);
    }
    return {};
}

TypeStore::Result<std::size_t> TypeStore::indexOf(QStringView name) const {
    const auto found = std::ranges::find(m_file.types, name, &MeetingType::name);
    if (found == m_file.types.end()) {
        return refused(Kind::missing, name.toString());
    }
    return static_cast<std::size_t>(found - m_file.types.begin());
}

/// The name to use for what the user typed. `own` is the name that the type has so far: only its case may change.
TypeStore::Result<QString> TypeStore::clean(const QString& wanted, const std::optional<QString>& own) const {
    auto name = base::Text::trimmed(wanted);
    if (name.isEmpty()) {
        return refused(Kind::empty);
    }
    // Exact on purpose, unlike the test for doubles: only these very words stand for something else in lists.
    if (copy::Strings::uncategorized == name) {
        return refused(Kind::reserved);
    }
    if (copy::Strings::filterPractice == name) {
        return refused(Kind::reservedPractice);
    }
    const auto known = std::ranges::find_if(
        m_file.types, [&name](const MeetingType& type) { return base::Text::equalIgnoringCase(type.name, name); });
    if (known != m_file.types.end() && known->name != own) {
        return refused(Kind::duplicate, known->name);
    }
    return name;
}

TypeStore::Result<void> TypeStore::write(TypesFile changed) {
    if (const auto written = base::replaceFile(m_url, changed.data()); !written) {
        return std::unexpected(TypeFailure(written.error()));
    }
    m_file = std::move(changed);
    return {};
}

} // namespace store
