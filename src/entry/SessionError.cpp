#include "entry/SessionError.h"

#include "copy/Strings.h"

namespace entry {

QString SessionError::text() const {
    return copy::Strings::folderFailed(reason);
}

QString text(const StartError& error) {
    return std::visit([](const auto& reason) { return reason.text(); }, error);
}

} // namespace entry
