// The user's preferences: one JSON file, every value with its type, written at each change.
//   Threads  any; a lock guards the values, and a change is on the disk when the call returns
//   Errors   a file that can't be read or understood counts as empty and is set aside ("NAME.damaged") before the
//            first write; a write that fails keeps the value in memory for this run
//   Sharing  each change reads the file again first, so that two processes lose at most a change of the same key
#pragma once

#include "base/Files.h"
#include "base/Json.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace base {

class PreferenceStore {
public:
    explicit PreferenceStore(fs::path file);

    /// What a key gives while nothing is stored under it. Never written.
    void registerDefault(const QString& key, Json value);

    [[nodiscard]] std::optional<Json> value(const QString& key) const;
    [[nodiscard]] bool boolean(const QString& key, bool fallback = false) const; ///< a number counts as "is not 0"
    [[nodiscard]] std::optional<double> number(const QString& key) const;
    [[nodiscard]] std::optional<QString> string(const QString& key) const;
    [[nodiscard]] std::optional<QStringList> stringList(const QString& key) const;

    void set(const QString& key, Json value);
    void remove(const QString& key);

    [[nodiscard]] const fs::path& file() const { return m_file; }

private:
    [[nodiscard]] Json::Object load() const;
    void change(const QString& key, std::optional<Json> value);

    fs::path m_file;
    mutable std::mutex m_mutex;
    std::map<QString, Json> m_defaults;
    std::map<QString, std::optional<Json>> m_unwritten; ///< changes that the disk refused; nullopt: removed
};

} // namespace base
