#include "store/TypesFile.h"

#include "base/Json.h"
#include "copy/Strings.h"
#include "store/TypeColor.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace store {

namespace {

std::optional<QString> textAt(const base::Json& json, QStringView key) {
    const auto* found = json.find(key);
    return found != nullptr ? found->toString() : std::nullopt;
}

std::optional<MeetingType> readType(const base::Json& json) {
    const auto name = textAt(json, u"name");
    const auto color = textAt(json, u"color");
    if (!name || !color) {
        return std::nullopt;
    }
    return MeetingType{*name, *color};
}

} // namespace

const TypesFile& TypesFile::seed() {
    static const TypesFile value = [] {
        const auto names = copy::Strings::meetingTypes();
        return TypesFile{{{names.at(0), rawValue(TypeColor::blue)}, {names.at(1), rawValue(TypeColor::green)}}};
    }();
    return value;
}

std::optional<TypesFile> TypesFile::decode(QByteArrayView bytes) {
    const auto json = base::parseJson(bytes);
    const auto* list = json ? json->find(u"types") : nullptr;
    const auto* elements = list != nullptr ? list->toArray() : nullptr;
    if (elements == nullptr) {
        return std::nullopt;
    }
    TypesFile result;
    for (const auto& element : *elements) {
        auto type = readType(element);
        if (!type) {
            return std::nullopt;
        }
        result.types.push_back(std::move(*type));
    }
    return result;
}

QByteArray TypesFile::data() const {
    base::Json::Array list;
    for (const auto& type : types) {
        list.emplace_back(base::Json::Object{{u"name"_s, type.name}, {u"color"_s, type.color}});
    }
    return base::writeJson(base::Json::Object{{u"types"_s, std::move(list)}}, base::KeyOrder::AsGiven);
}

} // namespace store
