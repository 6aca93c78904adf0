#include <qel/files/file.h>

#include <qel/files/file_query_p.h>
#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/crc32c.h>

#include <algorithm>

namespace qel {

using internal::FileError;
using internal::FileHandle;
using platform::FileKind;
using platform::FileStatus;
using platform::Links;

namespace internal {

uint64 utcStampOf(const platform::FileTime& time) {
    constexpr int64 kSecondsFrom1601To1970 = 11'644'473'600;
    constexpr int64 kTicksPerSecond = 10'000'000;
    constexpr int64 kLastSecond = INT64_MAX / kTicksPerSecond - kSecondsFrom1601To1970 - 1;
    const int64 seconds = std::clamp(time.seconds, -kSecondsFrom1601To1970, kLastSecond);
    return static_cast<uint64>((seconds + kSecondsFrom1601To1970) * kTicksPerSecond + time.nanoseconds / 100);
}

FileError readNameStatus(FileStatus& status, bool& isSymLink, const char* path, const FileHandle& base) {
    FileStatus own;
    if (const FileError error = readStatus(own, path, Links::Keep, base)) return error;
    isSymLink = own.kind == FileKind::SymLink;
    FileStatus target;
    status = isSymLink && !readStatus(target, path, Links::Follow, base) ? target : own;
    return {};
}

void fillFileInfo(const FileStatus& status, bool isSymLink, File::FileInfo& info) {
    info.size = status.kind == FileKind::Directory ? 0 : status.size;
    info.creationTime = utcStampOf(status.created);
    info.modificationTime = utcStampOf(status.modified);
    info.isDirectory = status.kind == FileKind::Directory;
    info.isSymLink = isSymLink;
    info.isSpecial = status.kind == FileKind::Other;
    info.isUnknown = false;
}

} // namespace internal

namespace {

// Returns the folder that contains `path`; empty for "/", "." and an empty path.
String parentOf(SmartCStr path) {
    String own = path;
    File::pathStripEndingSeparator(own);
    if (own.empty() || own == "/" || own == ".") return String();
    String parent = File::stripFilenameFromPath(own);
    return parent.empty() ? String(".") : parent;
}

bool readsAsMissing(const FileError& error) {
    return error == std::errc::no_such_file_or_directory;
}

} // namespace

bool File::existsFile(SmartCStr path) {
    FileStatus status;
    return !readStatus(status, path, Links::Keep);
}

bool File::checkIfDirectory(SmartCStr path, bool& isDirectory) {
    FileStatus status;
    bool isSymLink = false;
    if (internal::readNameStatus(status, isSymLink, path)) return false;
    isDirectory = status.kind == FileKind::Directory;
    return true;
}

bool File::isAccessible(SmartCStr path, bool forWriting) {
    FileStatus status;
    String candidate = path;
    FileError error = readStatus(status, candidate.c_str());
    if (!error) return !platform::testAccess(candidate.c_str(), forWriting);
    while (readsAsMissing(error)) {
        candidate = parentOf(candidate);
        if (candidate.empty()) return false;
        error = readStatus(status, candidate.c_str());
    }
    return !error && status.kind == FileKind::Directory &&
           !platform::testAccess(candidate.c_str(), forWriting);
}

uint64 File::getFileSize(SmartCStr path) {
    FileInfo info;
    return getFileInfo(path, info) ? info.size : 0;
}

bool File::getFileInfo(SmartCStr path, FileInfo& info) {
    FileStatus status;
    bool isSymLink = false;
    if (internal::readNameStatus(status, isSymLink, path)) return false;
    internal::fillFileInfo(status, isSymLink, info);
    return true;
}

uint32 File::getFileHash(SmartCStr path, uint64 offset, uint64 size) {
    constexpr uint32 kFailed = 0xFFFFFFFF;
    constexpr size_t kBlockBytes = 128 * 1024;
    FileHandle file;
    if (internal::openForReading(file, path)) return kFailed;
    Buffer block(static_cast<size_t>(std::min<uint64>(size, kBlockBytes)));
    uint32 hash = 0xFFFFFFFF;
    while (size > 0) {
        const size_t wanted = static_cast<size_t>(std::min<uint64>(size, block.getSize()));
        size_t done = 0;
        if (internal::readFully(file, offset, block.getBytePointer(), wanted, done)) return kFailed;
        hash = util::crc32c(hash, block.getBytePointer(), static_cast<unsigned>(done));
        if (done < wanted) break;
        offset += done;
        size -= done;
    }
    return hash;
}

bool File::compareFiles(SmartCStr a, SmartCStr b, bool silent) {
    Buffer contentOfA, contentOfB;
    return contentOfA.loadFromFile(a, silent, false) && contentOfB.loadFromFile(b, silent, false) &&
           contentOfA == contentOfB;
}

} // namespace qel
