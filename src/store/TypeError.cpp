#include "store/TypeError.h"

#include "copy/Strings.h"

namespace store {

namespace Strings = copy::Strings;

QString TypeError::errorDescription() const {
    switch (kind) {
    case Kind::duplicate:
        return Strings::typeDuplicate(name);
    case Kind::missing:
        return Strings::typeMissing(name);
    case Kind::unreadable:
        return Strings::typesBroken;
    case Kind::empty:
        return Strings::typeEmptyName;
    case Kind::reserved:
        return Strings::typeReserved(Strings::uncategorized);
    case Kind::reservedPractice:
        return Strings::typeReserved(Strings::filterPractice);
    }
    Q_UNREACHABLE();
}

QString errorText(const TypeFailure& failure) {
    if (const auto* refused = std::get_if<TypeError>(&failure)) {
        return refused->errorDescription();
    }
    return std::get<base::FileError>(failure).text;
}

} // namespace store
