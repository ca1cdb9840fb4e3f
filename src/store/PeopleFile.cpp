#include "store/PeopleFile.h"

#include "base/Json.h"
#include "base/Text.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace store {

std::optional<PeopleFile> PeopleFile::decode(QByteArrayView bytes) {
    const auto json = base::parseJson(bytes);
    const auto* names = json ? json->find(u"people") : nullptr;
    if (names == nullptr) {
        return std::nullopt;
    }
    return names->toStringList().transform([](QStringList people) { return PeopleFile{std::move(people)}; });
}

QByteArray PeopleFile::data() const {
    return base::writeJson(base::Json::Object{{u"people"_s, base::Json(people)}});
}

std::optional<PeopleFile> PeopleFile::adding(const QString& name) const {
    const auto wanted = base::Text::trimmed(name);
    const auto isWanted = [&wanted](const QString& known) { return base::Text::equalIgnoringCase(known, wanted); };
    if (wanted.isEmpty() || std::ranges::any_of(people, isWanted)) {
        return std::nullopt;
    }
    return PeopleFile{people + QStringList{wanted}};
}

} // namespace store
