#include "support/FaultInjectingVfs.h"

#include <sqlite3.h>

#include <atomic>
#include <cstring>

namespace {

std::atomic<FaultInjectingVfs::Fault> currentFault{FaultInjectingVfs::Fault::None};
std::atomic<int> writes{0};
sqlite3_vfs* base = nullptr;
sqlite3_vfs wrapper;

// Our file record, with the base file system's record right behind it.
struct WrappedFile {
    sqlite3_file head;
    sqlite3_file* real;
};

sqlite3_file* realOf(sqlite3_file* file) { return reinterpret_cast<WrappedFile*>(file)->real; }

int wrappedClose(sqlite3_file* f)
{
    sqlite3_file* real = realOf(f);
    return real->pMethods ? real->pMethods->xClose(real) : SQLITE_OK;
}
int wrappedRead(sqlite3_file* f, void* buffer, int amount, sqlite3_int64 offset)
{
    return realOf(f)->pMethods->xRead(realOf(f), buffer, amount, offset);
}
int wrappedWrite(sqlite3_file* f, const void* buffer, int amount, sqlite3_int64 offset)
{
    switch (currentFault.load()) {
    case FaultInjectingVfs::Fault::IoError:
        return SQLITE_IOERR_WRITE;
    case FaultInjectingVfs::Fault::DiskFull:
        return SQLITE_FULL;
    case FaultInjectingVfs::Fault::None:
        break;
    }
    ++writes;
    return realOf(f)->pMethods->xWrite(realOf(f), buffer, amount, offset);
}
int wrappedTruncate(sqlite3_file* f, sqlite3_int64 size)
{
    return realOf(f)->pMethods->xTruncate(realOf(f), size);
}
int wrappedSync(sqlite3_file* f, int flags) { return realOf(f)->pMethods->xSync(realOf(f), flags); }
int wrappedFileSize(sqlite3_file* f, sqlite3_int64* size)
{
    return realOf(f)->pMethods->xFileSize(realOf(f), size);
}
int wrappedLock(sqlite3_file* f, int level) { return realOf(f)->pMethods->xLock(realOf(f), level); }
int wrappedUnlock(sqlite3_file* f, int level)
{
    return realOf(f)->pMethods->xUnlock(realOf(f), level);
}
int wrappedCheckReservedLock(sqlite3_file* f, int* out)
{
    return realOf(f)->pMethods->xCheckReservedLock(realOf(f), out);
}
int wrappedFileControl(sqlite3_file* f, int op, void* arg)
{
    return realOf(f)->pMethods->xFileControl(realOf(f), op, arg);
}
int wrappedSectorSize(sqlite3_file* f) { return realOf(f)->pMethods->xSectorSize(realOf(f)); }
int wrappedDeviceCharacteristics(sqlite3_file* f)
{
    return realOf(f)->pMethods->xDeviceCharacteristics(realOf(f));
}
int wrappedShmMap(sqlite3_file* f, int page, int size, int extend, void volatile** out)
{
    return realOf(f)->pMethods->xShmMap(realOf(f), page, size, extend, out);
}
int wrappedShmLock(sqlite3_file* f, int offset, int n, int flags)
{
    return realOf(f)->pMethods->xShmLock(realOf(f), offset, n, flags);
}
void wrappedShmBarrier(sqlite3_file* f) { realOf(f)->pMethods->xShmBarrier(realOf(f)); }
int wrappedShmUnmap(sqlite3_file* f, int deleteFlag)
{
    return realOf(f)->pMethods->xShmUnmap(realOf(f), deleteFlag);
}
int wrappedFetch(sqlite3_file* f, sqlite3_int64 offset, int amount, void** out)
{
    return realOf(f)->pMethods->xFetch(realOf(f), offset, amount, out);
}
int wrappedUnfetch(sqlite3_file* f, sqlite3_int64 offset, void* pointer)
{
    return realOf(f)->pMethods->xUnfetch(realOf(f), offset, pointer);
}

const sqlite3_io_methods wrappedMethods = {
    3,
    wrappedClose,
    wrappedRead,
    wrappedWrite,
    wrappedTruncate,
    wrappedSync,
    wrappedFileSize,
    wrappedLock,
    wrappedUnlock,
    wrappedCheckReservedLock,
    wrappedFileControl,
    wrappedSectorSize,
    wrappedDeviceCharacteristics,
    wrappedShmMap,
    wrappedShmLock,
    wrappedShmBarrier,
    wrappedShmUnmap,
    wrappedFetch,
    wrappedUnfetch,
};

int wrappedOpen(sqlite3_vfs*, sqlite3_filename name, sqlite3_file* file, int flags, int* outFlags)
{
    auto* wrapped = reinterpret_cast<WrappedFile*>(file);
    wrapped->real = reinterpret_cast<sqlite3_file*>(wrapped + 1);
    std::memset(wrapped->real, 0, static_cast<size_t>(base->szOsFile));
    const int rc = base->xOpen(base, name, wrapped->real, flags, outFlags);
    // SQLite calls xClose only on a file whose methods are set, so a failed open sets none.
    wrapped->head.pMethods = wrapped->real->pMethods ? &wrappedMethods : nullptr;
    return rc;
}

} // namespace

namespace FaultInjectingVfs {

void install()
{
    if (base)
        return;
    base = sqlite3_vfs_find(nullptr);
    wrapper = *base;
    wrapper.zName = "faultinjecting";
    wrapper.szOsFile = static_cast<int>(sizeof(WrappedFile)) + base->szOsFile;
    wrapper.xOpen = wrappedOpen;
    sqlite3_vfs_register(&wrapper, 1);
}

void setWriteFault(Fault fault) { currentFault = fault; }
int writeCount() { return writes; }
void resetWriteCount() { writes = 0; }

} // namespace FaultInjectingVfs
