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
void barrier(sqlite3_file* file) {
    realOf(file)->pMethods->xShmBarrier(realOf(file));
}

/// Calls a method of the real file.
template <auto kMethod, typename... Arguments>
int call(sqlite3_file* file, Arguments... arguments) {
    return (realOf(file)->pMethods->*kMethod)(realOf(file), arguments...);
}

/// Does the same unless a test makes the operation fail.
template <auto kMethod, Operation kOperation, int kCode, typename... Arguments>
int callOrFail(sqlite3_file* file, Arguments... arguments) {
    const int forced = ask(kOperation, kCode);
    return forced != SQLITE_OK ? forced : call<kMethod>(file, arguments...);
}

using Methods = sqlite3_io_methods;

const Methods kMethods{
    .iVersion = 2,
    .xClose = closeFile,
    .xRead = callOrFail<&Methods::xRead, Operation::Read, SQLITE_IOERR_READ>,
    .xWrite = callOrFail<&Methods::xWrite, Operation::Write, SQLITE_IOERR_WRITE>,
    .xTruncate = callOrFail<&Methods::xTruncate, Operation::SetSize, SQLITE_IOERR_TRUNCATE>,
    .xSync = callOrFail<&Methods::xSync, Operation::Sync, SQLITE_IOERR_FSYNC>,
    .xFileSize = callOrFail<&Methods::xFileSize, Operation::ReadStatus, SQLITE_IOERR_FSTAT>,
    .xLock = callOrFail<&Methods::xLock, Operation::Lock, SQLITE_IOERR_LOCK>,
    .xUnlock = call<&Methods::xUnlock>,
    .xCheckReservedLock = call<&Methods::xCheckReservedLock>,
    .xFileControl = call<&Methods::xFileControl>,
    .xSectorSize = call<&Methods::xSectorSize>,
    .xDeviceCharacteristics = call<&Methods::xDeviceCharacteristics>,
    .xShmMap = callOrFail<&Methods::xShmMap, Operation::Map, SQLITE_IOERR_SHMMAP>,
    .xShmLock = call<&Methods::xShmLock>,
    .xShmBarrier = barrier,
    .xShmUnmap = call<&Methods::xShmUnmap>,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

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
