// Meeting folders that hold no more than a meta.json.
#pragma once

#include "base/Files.h"
#include "base/Json.h"
#include "store/MeetingLibrary.h"

#include <QString>

#include <optional>

namespace fakes {

class MeetingFolders {
public:
    explicit MeetingFolders(base::fs::path meetings) : path(std::move(meetings)) { base::fs::create_directories(path); }

    /// A meeting of the given type; nullopt: uncategorised. `name` begins with its start, "2025_03_07_0930_a".
    void add(const base::fs::path& name, const std::optional<QString>& type) const {
        base::Json meta;
        meta.set(QStringLiteral("type"), base::Json::orNull(type));
        meta.set(QStringLiteral("ours"), base::Json::integer(1));
        write(name, base::writeJson(meta));
    }

    void write(const base::fs::path& name, const QByteArray& meta) const {
        base::fs::create_directories(path / name);
        [[maybe_unused]] const auto written = base::replaceFile(path / name / "meta.json", meta);
    }

    [[nodiscard]] std::optional<QString> type(const base::fs::path& name) const {
        return store::MeetingLibrary::record(path / name).type;
    }

    [[nodiscard]] QByteArray meta(const base::fs::path& name) const {
        return base::readFile(path / name / "meta.json").value_or(QByteArray());
    }

    base::fs::path path;
};

} // namespace fakes
