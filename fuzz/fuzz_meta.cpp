// meta.json from anywhere: read or refused by both readers, and an edit changes nothing but what it names.
#include "Require.h"
#include "base/Json.h"
#include "store/MeetingLibrary.h"
#include "store/MeetingMeta.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

using namespace Qt::StringLiterals;
namespace MeetingLibrary = store::MeetingLibrary;

namespace {

void checkStrictReader(QByteArrayView bytes) {
    if (const auto meta = store::MeetingMeta::decode(bytes)) {
        require(std::isfinite(meta->duration));
        require(store::MeetingMeta::decode(meta->data().value()) == meta);
        require(MeetingLibrary::recordFromMeta(bytes).has_value());
    }
}

void checkEdit(QByteArrayView bytes) {
    const auto before = base::parseJson(bytes);
    const auto after = MeetingLibrary::patched(bytes, {.note = u" edited "_s});
    require(after.has_value() == (before && before->isObject()));
    require(after.has_value() == MeetingLibrary::recordFromMeta(bytes).has_value());
    if (!after) {
        return;
    }
    base::Json expected = *before;
    expected.set(u"note"_s, u"edited"_s);
    const auto read = base::parseJson(*after);
    require(read.has_value());
    // Sorted and read again it is the same: no key, no text and no digit of a number has changed.
    require(base::writeCompactJson(*read) == base::writeCompactJson(expected));
    require(MeetingLibrary::recordFromMeta(*after)->note == u"edited"_s);
    require(MeetingLibrary::patched(*after, {}) == after);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    checkStrictReader(bytes);
    checkEdit(bytes);
    return 0;
}
