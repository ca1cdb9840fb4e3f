#include "capture/CaptureError.h"

#include "copy/Strings.h"

namespace capture {

namespace {

constexpr copy::FixedText noneFound = u"找不到麥克風";

} // namespace

QString CaptureError::text() const {
    switch (kind) {
    case Kind::CannotUse:
        return copy::Strings::micFailed(reason);
    case Kind::NoMicrophone:
        return copy::Strings::micFailed(noneFound);
    case Kind::Timeout:
        return copy::Strings::micFailed(copy::Strings::micTimeoutReason);
    }
    return {};
}

} // namespace capture
