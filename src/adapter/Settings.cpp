#include "adapter/Settings.h"

#include "base/Environment.h"
#include "base/Files.h"

#include <QStringList>

#include <map>

using namespace Qt::StringLiterals;

namespace adapter {
namespace {

constexpr std::int64_t fileLimit = 64 * 1024;
constexpr unsigned mostThreads = 256;

std::map<QString, QString> fileSettings(const std::filesystem::path& file) {
    std::map<QString, QString> settings;
    const QString text = base::readText(file, fileLimit).value_or(QString());
    for (const auto& line : text.split(u'\n')) {
        const auto sign = line.indexOf(u'=');
        if (sign > 0 && !line.trimmed().startsWith(u'#')) {
            settings.insert_or_assign(line.first(sign).trimmed().toLower(), line.sliced(sign + 1).trimmed());
        }
    }
    return settings;
}

} // namespace

Settings readSettings(const Lookup& environment, const std::filesystem::path& file) {
    const auto fromFile = fileSettings(file);
    const auto value = [&](const char* variable, const QString& name) -> std::optional<std::string> {
        auto text = environment(variable);
        if (!text || text->isEmpty()) {
            const auto found = fromFile.find(name);
            text = found != fromFile.end() ? std::optional(found->second) : std::nullopt;
        }
        return text && !text->isEmpty() ? std::optional(text->toStdString()) : std::nullopt;
    };
    Settings settings{.wishes = {.engine = value("BRIEFLET_WHISPER_ENGINE", u"engine"_s),
                                 .model = value("BRIEFLET_WHISPER_MODEL", u"model"_s)},
                      .language = value("BRIEFLET_WHISPER_LANGUAGE", u"language"_s),
                      .threads = std::nullopt};
    if (const auto threads = value("BRIEFLET_WHISPER_THREADS", u"threads"_s)) {
        const unsigned count = QString::fromStdString(*threads).toUInt();
        settings.threads = count >= 1 && count <= mostThreads ? std::optional(count) : std::nullopt;
    }
    return settings;
}

std::filesystem::path settingsFile() {
    const auto folder = base::Environment::variable("XDG_CONFIG_HOME");
    const bool isSet = folder && folder->startsWith(u'/');
    return (isSet ? base::pathFrom(*folder) : base::Environment::homeFolder() / ".config") / "brieflet-whisper.conf";
}

} // namespace adapter
