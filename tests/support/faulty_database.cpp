#include <tests/support/faulty_database.h>

#include <qel/testing/faults.h>

#include <sqlite3.h>

#include <cstddef>

namespace qel::test {

namespace {

using platform::Operation;

/// The first part of a file; the real layer's file follows it.
struct FaultyFile {
    sqlite3_file head;

    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_vfs* g_real = nullptr;
sqlite3_vfs g_faulty;

sqlite3_file* realOf(sqlite3_file* file) {
    return reinterpret_cast<FaultyFile*>(file)->real();
}

/// Returns SQLITE_OK, or @p code if a test makes @p operation fail; a full disk has its own code.
int ask(Operation operation, int code) {
    std::size_t none = 0;
    const std::error_code forced = seams::forcedFault(operation, none);
    if (!forced) return SQLITE_OK;
    return forced == std::errc::no_space_on_device ? SQLITE_FULL : code;
}

int closeFile(sqlite3_file* file) {
    const int result = realOf(file)->pMethods->xClose(realOf(file));
    const int forced = ask(Operation::Close, SQLITE_IOERR_CLOSE);
    return forced != SQLITE_OK ? forced : result;
}
int readFile(sqlite3_file* file, void* data, int size, sqlite3_int64 offset) {
    const int forced = ask(Operation::Read, SQLITE_IOERR_READ);
    return forced != SQLITE_OK ? forced : realOf(file)->pMethods->xRead(realOf(file), data, size, offset);
}
int writeFile(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
    const int forced = ask(Operation::Write, SQLITE_IOERR_WRITE);
    return forced != SQLITE_OK ? forced : realOf(file)->pMethods->xWrite(realOf(file), data, size, offset);
}
int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    const int forced = ask(Operation::SetSize, SQLITE_IOERR_TRUNCATE);
    return forced != SQLITE_OK ? forced : realOf(file)->pMethods->xTruncate(realOf(file), size);
}
int syncFile(sqlite3_file* file, int flags) {
    const int forced = ask(Operation::Sync, SQLITE_IOERR_FSYNC);
    return forced != SQLITE_OK ? forced : realOf(file)->pMethods->xSync(realOf(file), flags);
}
int fileSize(sqlite3_file* file, sqlite3_int64* size) {
    const int forced = ask(Operation::ReadStatus, SQLITE_IOERR_FSTAT);
    return forced != SQLITE_OK ? forced : realOf(file)->pMethods->xFileSize(realOf(file), size);
}
int lockFile(sqlite3_file* file, int kind) {
    const int forced = ask(Operation::Lock, SQLITE_IOERR_LOCK);
    return forced != SQLITE_OK ? forced : realOf(file)->pMethods->xLock(realOf(file), kind);
}
int unlockFile(sqlite3_file* file, int kind) {
    return realOf(file)->pMethods->xUnlock(realOf(file), kind);
}
int checkReservedLock(sqlite3_file* file, int* result) {
    return realOf(file)->pMethods->xCheckReservedLock(realOf(file), result);
}
int fileControl(sqlite3_file* file, int operation, void* argument) {
    return realOf(file)->pMethods->xFileControl(realOf(file), operation, argument);
}
int sectorSize(sqlite3_file* file) {
    return realOf(file)->pMethods->xSectorSize(realOf(file));
}
int characteristics(sqlite3_file* file) {
    return realOf(file)->pMethods->xDeviceCharacteristics(realOf(file));
}
int mapShared(sqlite3_file* file, int page, int size, int extend, void volatile** memory) {
    const int forced = ask(Operation::Map, SQLITE_IOERR_SHMMAP);
    return forced != SQLITE_OK ? forced
                               : realOf(file)->pMethods->xShmMap(realOf(file), page, size, extend, memory);
}
int lockShared(sqlite3_file* file, int offset, int count, int flags) {
    return realOf(file)->pMethods->xShmLock(realOf(file), offset, count, flags);
}
void barrier(sqlite3_file* file) {
    realOf(file)->pMethods->xShmBarrier(realOf(file));
}
int unmapShared(sqlite3_file* file, int remove) {
    return realOf(file)->pMethods->xShmUnmap(realOf(file), remove);
}

const sqlite3_io_methods kMethods{2,           closeFile,   readFile,        writeFile,  truncateFile,
                                  syncFile,    fileSize,    lockFile,        unlockFile, checkReservedLock,
                                  fileControl, sectorSize,  characteristics, mapShared,  lockShared,
                                  barrier,     unmapShared, nullptr,         nullptr};

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags) {
    file->pMethods = nullptr;
    const int forced = ask(Operation::Open, SQLITE_CANTOPEN);
    if (forced != SQLITE_OK) return forced;
    const int result = g_real->xOpen(g_real, name, realOf(file), flags, outFlags);
    if (realOf(file)->pMethods) file->pMethods = &kMethods;
    return result;
}

int removeFile(sqlite3_vfs*, const char* name, int syncFolder) {
    const int forced = ask(Operation::Remove, SQLITE_IOERR_DELETE);
    return forced != SQLITE_OK ? forced : g_real->xDelete(g_real, name, syncFolder);
}

int testAccess(sqlite3_vfs*, const char* name, int flags, int* result) {
    const int forced = ask(Operation::ReadStatus, SQLITE_IOERR_ACCESS);
    return forced != SQLITE_OK ? forced : g_real->xAccess(g_real, name, flags, result);
}

} // namespace

void installFaultyDatabase() {
    if (g_real) return;
    g_real = sqlite3_vfs_find(nullptr);
    g_faulty = *g_real; // functions that are not file operations are those of the real layer
    g_faulty.pNext = nullptr;
    g_faulty.zName = "faulty";
    g_faulty.szOsFile = static_cast<int>(sizeof(FaultyFile)) + g_real->szOsFile;
    g_faulty.xOpen = &openFile;
    g_faulty.xDelete = &removeFile;
    g_faulty.xAccess = &testAccess;
    sqlite3_vfs_register(&g_faulty, 1);
}

} // namespace qel::test
