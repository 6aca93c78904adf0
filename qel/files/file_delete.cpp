#include <qel/files/file.h>

#include <qel/files/absolute_path_p.h>
#include <qel/files/deferred_deletion.h>
#include <qel/files/deletion_p.h>
#include <qel/files/whole_io_p.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/system/core/system.h>
#include <qel/system/tasks/task_queue.h>

#include <fmt/format.h>

namespace qel {

namespace internal {

using platform::FileStatus;
using platform::Links;

namespace {

constexpr uint32 kOwnerMayWrite = 0200;
constexpr uint32 kOwnerMayChangeNames = 0300;

bool isRefusal(const FileError& error) {
    return error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
}

// On Linux the folder's permissions protect a name. The file's own protection is removed as well, because
// only both together correspond to a read-only file on other systems.
FileError removeProtected(const char* name, const FileHandle& folder, const FileStatus& file) {
    String parent = File::stripFilenameFromPath(name);
    if (parent.empty()) parent += '.';
    FileStatus around;
    FileError error = readStatus(around, parent.c_str(), Links::Follow, folder);
    if (!error) error = platform::setMode(name, file.mode | kOwnerMayWrite, folder);
    if (error) return error;
    const bool lift = around.ownedByUser && !(around.mode & kOwnerMayWrite);
    if (lift) platform::setMode(parent.c_str(), around.mode | kOwnerMayChangeNames, folder);
    error = platform::removeFile(name, folder);
    if (lift) platform::setMode(parent.c_str(), around.mode, folder);
    return error;
}

void addToDeferredDeletion(const String& path, const String& origin) {
    if (auto* deferred = dynamic_cast<DeferredDeletion*>(Object::getSingletonObject("deleteLater")))
        deferred->addPath(path.c_str(), origin.c_str());
}

// The list belongs to the main thread.
void handOn(const String& path, const String& origin) {
    System* system = Object::system();
    if (!system || system->isMainThread()) return addToDeferredDeletion(path, origin);
    auto task = [origin, path] { addToDeferredDeletion(path, origin); };
    system->getGlobalMainQueue()->pushTask(new TaskQueue::LambdaNoContextTask(task), 0);
}

// The path stays hidden if the deletion is only deferred.
void deleteHidden(DeleteFunction deletion, const String& origin, const String& path, bool silent) {
    if (deletion(path, silent)) return Object::system()->removePathFromFilesystemBlacklist(path);
    handOn(path, origin);
}

} // namespace

String hostPath(SmartCStr path) {
    String result = path;
    if (!File::existsFile(path)) File::pathSeparatorToHost(result);
    return result;
}

bool deleteNowOrLater(DeleteFunction deletion, SmartCStr origin, const String& path, bool silent) {
    if (deletion(path, silent)) return true;
    if (!Object::getSingletonObject("deleteLater")) return false;
    const String absolute = absolutePath(path);
    if (System* system = Object::system()) system->addPathToFilesystemBlacklist(absolute);
    handOn(absolute, origin);
    return false;
}

void deleteAsyncOrLater(DeleteFunction deletion, SmartCStr origin, const String& path, bool silent) {
    if (!File::existsFile(path)) return;
    System* system = Object::system();
    if (!system) {
        deletion(path, silent);
        return;
    }
    const String absolute = absolutePath(path); // the working folder may have changed by then
    system->addPathToFilesystemBlacklist(absolute);
    auto task = [deletion, origin = String(origin), absolute, silent] {
        deleteHidden(deletion, origin, absolute, silent);
    };
    system->getGlobalDeleteIOQueue()->pushTask(new TaskQueue::LambdaNoContextTask(task), 0);
}

FileError removeFileWithForce(const char* name, const FileHandle& folder) {
    const FileError error = platform::removeFile(name, folder);
    FileStatus status;
    if (!isRefusal(error) || readStatus(status, name, Links::Keep, folder)) return error;
    if (status.kind == platform::FileKind::SymLink || status.mode & kOwnerMayWrite) return error;
    return removeProtected(name, folder, status) ? error : FileError();
}

void warnNotDeleted(SmartCStr path, const FileError& error, const char* name, const FileHandle& folder) {
    FileStatus status;
    readStatus(status, name, Links::Keep, folder);
    logging::warning() << "file '" << path.c_str() << "(attrib:" << fmt::format("{:04o}", status.mode)
                       << ") could not be deleted" << describe(error);
}

} // namespace internal

bool File::deleteFile(SmartCStr path, bool silent) {
    const internal::FileError error = internal::removeFileWithForce(path);
    if (!error || error == std::errc::no_such_file_or_directory) return true;
    if (!silent) internal::warnNotDeleted(path, error, path);
    return false;
}

bool File::deleteFileNowOrLater(SmartCStr origin, SmartCStr path, bool silent) {
    return internal::deleteNowOrLater(deleteFile, origin, internal::hostPath(path), silent);
}

void File::deleteFileAsyncOrLater(SmartCStr origin, SmartCStr path, bool silent) {
    internal::deleteAsyncOrLater(deleteFile, origin, internal::hostPath(path), silent);
}

} // namespace qel
