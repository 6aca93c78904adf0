#include <qel/files/file.h>

#include <qel/files/file_copy_p.h>
#include <qel/foundation/log/message_stream.h>

namespace qel {

using internal::describe;
using internal::FileError;
using internal::FileHandle;
using platform::FileKind;
using platform::FileStatus;
using platform::Links;
using platform::OpenMode;

namespace {

// A copy replaces the target of a link, as a write would, and keeps the link; a link without a target cannot
// be written through.
FileError resolveTarget(std::string& target, SmartCStr path) {
    FileStatus status;
    target = path.c_str();
    const FileError error = readStatus(status, path, Links::Keep);
    if (error == std::errc::no_such_file_or_directory) return {};
    return !error && status.kind == FileKind::SymLink ? platform::resolvePath(target, path) : error;
}

FileError copyBetweenPaths(SmartCStr from, SmartCStr to) {
    const FileHandle workingFolder;
    std::string target;
    if (const FileError error = resolveTarget(target, to)) return error;
    return internal::copyFileContent({workingFolder, from}, {workingFolder, target.c_str()}, Links::Follow);
}

// Moves a file between two disks, where it cannot be renamed.
FileError copyAndRemove(SmartCStr from, SmartCStr to) {
    FileStatus status;
    FileError error = readStatus(status, from, Links::Keep);
    const FileHandle workingFolder;
    if (!error && status.kind != FileKind::File) error = std::make_error_code(std::errc::cross_device_link);
    if (!error) error = internal::copyFileContent({workingFolder, from}, {workingFolder, to}, Links::Keep);
    return error ? error : platform::removeFile(from);
}

bool warnUnlessDone(const FileError& error, const char* action, SmartCStr from, SmartCStr to) {
    if (!error) return true;
    logging::warning() << "file '" << from.c_str() << "' could not be " << action << " to '" << to.c_str()
                       << "'" << describe(error);
    return false;
}

// Reports whether the file is new, so that it can be removed if a later step fails.
FileError createOrEmpty(FileHandle& file, SmartCStr path, bool& isNew) {
    const FileError error = openFile(file, path, OpenMode::CreateNew);
    isNew = !error;
    return error == std::errc::file_exists ? openFile(file, path, OpenMode::CreateOrEmpty) : error;
}

FileError extend(FileHandle& file, uint64 size, bool sparse) {
    const FileError error = sparse ? file.setSize(size) : file.allocate(size);
    return error == std::errc::operation_not_supported ? file.setSize(size) : error;
}

} // namespace

bool File::copyFile(SmartCStr from, SmartCStr to) {
    return warnUnlessDone(copyBetweenPaths(from, to), "copied", from, to);
}

bool File::moveFile(SmartCStr from, SmartCStr to) {
    FileError error = platform::rename(from, to);
    if (error == std::errc::cross_device_link) error = copyAndRemove(from, to);
    return warnUnlessDone(error, "moved", from, to);
}

bool File::createEmptyFile(SmartCStr path, uint64 size, bool sparse) {
    FileHandle file;
    bool isNew = false;
    if (const FileError error = createOrEmpty(file, path, isNew)) {
        logging::warning() << "file could not be created: " << path.c_str() << describe(error);
        return false;
    }
    FileError error = extend(file, size, sparse);
    if (const FileError closing = file.close(); !error) error = closing;
    if (!error) return true;
    logging::warning() << "file could not be extended" << describe(error);
    if (isNew) platform::removeFile(path);
    return false;
}

bool File::createSymLink(SmartCStr link, SmartCStr target, [[maybe_unused]] bool isDirectory) {
    const FileError error = platform::makeSymLink(target, link);
    if (!error) return true;
    logging::warning() << "symbolic link '" << link.c_str() << "' to target '" << target.c_str()
                       << "' could not be created" << describe(error);
    return false;
}

bool File::deleteSymLink(SmartCStr link) {
    FileStatus status;
    if (const FileError error = readStatus(status, link, Links::Keep))
        return error == std::errc::no_such_file_or_directory;
    return status.kind == FileKind::SymLink && !platform::removeFile(link);
}

bool File::touchFile(SmartCStr path) {
    FileHandle file;
    return !openFile(file, path, OpenMode::Append) && !file.close() && !platform::setModified(path, nullptr);
}

bool File::truncateFile(SmartCStr path, uint64 size) {
    FileHandle file;
    FileError error = openFile(file, path, OpenMode::Write);
    if (!error) error = file.setSize(size);
    if (const FileError closing = file.close(); !error) error = closing;
    if (!error) return true;
    logging::warning() << "file '" << path.c_str() << "' could not be truncated to " << size << " bytes"
                       << describe(error);
    return false;
}

std::FILE* File::openFileHandle(SmartCStr path, SmartCStr mode) {
    FileError error;
    return platform::openStandardFile(path, mode, error);
}

std::unique_ptr<std::iostream> File::openStdFileStream(SmartCStr path, std::ios_base::openmode mode) {
    FileError error;
    return platform::openStandardStream(path, mode, error);
}

} // namespace qel
