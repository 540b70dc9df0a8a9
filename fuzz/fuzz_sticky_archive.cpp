// Any bytes decode or fail cleanly; what decodes encodes and decodes to the same archive.
#include "exchange/StickyArchive.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto archive = StickyArchive::decode(bytes);
    if (!archive)
        return 0;
    const auto again = StickyArchive::decode(archive->encode());
    if (!again || !(*again == *archive))
        std::abort();
    return 0;
}
