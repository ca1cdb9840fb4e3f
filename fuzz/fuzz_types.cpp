// types.json from anywhere: read or refused, and what was read can be written and read again unchanged.
#include "Require.h"
#include "store/TypesFile.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArrayView bytes(data, static_cast<qsizetype>(size));
    if (const auto file = store::TypesFile::decode(bytes)) {
        require(store::TypesFile::decode(file->data()) == file);
    }
    return 0;
}
