#include "base/PreferenceStore.h"

#include <system_error>
#include <utility>

namespace base {

using namespace Qt::StringLiterals;

PreferenceStore::PreferenceStore(fs::path file) : m_file(std::move(file)) {}

void PreferenceStore::registerDefault(const QString& key, Json value) {
    const std::lock_guard lock(m_mutex);
    m_defaults[key] = std::move(value);
}

Json::Object PreferenceStore::load() const {
    const auto bytes = readFile(m_file);
    if (!bytes) {
        return {};
    }
    const auto json = parseJson(*bytes);
    return json && json->isObject() ? *json->toObject() : Json::Object{};
}

std::optional<Json> PreferenceStore::value(const QString& key) const {
    const std::lock_guard lock(m_mutex);
    if (const auto unwritten = m_unwritten.find(key); unwritten != m_unwritten.end()) {
        if (unwritten->second) {
            return unwritten->second;
        }
    } else {
        const Json stored{load()};
        if (const Json* found = stored.find(key); found != nullptr && !found->isNull()) {
            return *found;
        }
    }
    const auto registered = m_defaults.find(key);
    return registered == m_defaults.end() ? std::nullopt : std::optional(registered->second);
}

bool PreferenceStore::boolean(const QString& key, bool fallback) const {
    const auto found = value(key);
    if (!found) {
        return fallback;
    }
    if (const auto number = found->toDouble()) {
        return *number != 0;
    }
    return found->toBool().value_or(fallback);
}

std::optional<double> PreferenceStore::number(const QString& key) const {
    const auto found = value(key);
    return found ? found->toDouble() : std::nullopt;
}

std::optional<QString> PreferenceStore::string(const QString& key) const {
    const auto found = value(key);
    return found ? found->toString() : std::nullopt;
}

std::optional<QStringList> PreferenceStore::stringList(const QString& key) const {
    const auto found = value(key);
    return found ? found->toStringList() : std::nullopt;
}

void PreferenceStore::set(const QString& key, Json value) {
    change(key, std::move(value));
}

void PreferenceStore::remove(const QString& key) {
    change(key, std::nullopt);
}

void PreferenceStore::change(const QString& key, std::optional<Json> value) {
    const std::lock_guard lock(m_mutex);
    m_unwritten[key] = std::move(value);

    Json stored{Json::Object{}};
    if (const auto bytes = readFile(m_file)) {
        if (auto json = parseJson(*bytes); json && json->isObject()) {
            stored = std::move(*json);
        } else {
            // Somebody's slip of the pen must not cost them the file.
            fs::path aside = m_file;
            aside += ".damaged";
            std::error_code ignored;
            fs::rename(m_file, aside, ignored);
        }
    } else if (bytes.error().kind != FileError::Kind::Missing) {
        return; // there is something that can't be read now: it is not ours to replace
    }
    for (const auto& [name, changed] : m_unwritten) {
        if (changed) {
            stored.set(name, *changed);
        } else {
            stored.remove(name);
        }
    }
    if (makeFolders(m_file.parent_path()) && replaceFile(m_file, writeJson(stored))) {
        m_unwritten.clear();
    }
}

} // namespace base
