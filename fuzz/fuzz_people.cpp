// people.json from anywhere: read or refused, and what was read can be written and read again unchanged.
#include "Require.h"
#include "store/PeopleFile.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    if (const auto file = store::PeopleFile::decode(bytes)) {
        require(store::PeopleFile::decode(file->data()) == file);
        // The bytes as a name: added at most once.
        if (const auto changed = file->adding(QString::fromUtf8(bytes))) {
            require(!changed->people.last().isEmpty());
            require(!changed->adding(changed->people.last()));
        }
    }
    return 0;
}
