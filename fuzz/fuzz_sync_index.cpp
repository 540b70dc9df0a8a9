// Any bytes load as an index or as nothing; what loads saves and loads back the same.
#include "sync/CloudSyncIndex.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const auto index = CloudSyncIndex::decode(bytes);
    if (!index)
        return 0;
    const auto again = CloudSyncIndex::decode(index->encode());
    if (!again || !(*again == *index))
        std::abort();
    for (auto it = index->entries().cbegin(); it != index->entries().cend(); ++it) {
        if (!index->idForFileName(it->fileName))
            std::abort();
    }
    return 0;
}
