#include <qel/files/whole_io_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/system_error.h>

namespace qel::internal {

FileError openForReading(FileHandle& file, const char* path, platform::Links links, const FileHandle& base) {
    platform::FileStatus status;
    FileError error = platform::openFile(file, path, platform::OpenMode::Read, links, base);
    if (!error) error = platform::readStatus(status, file);
    if (!error && status.kind == platform::FileKind::Directory)
        error = std::make_error_code(std::errc::is_a_directory);
    if (error) file.close();
    return error;
}

FileError readFully(const FileHandle& file, uint64 offset, void* data, size_t size, size_t& done) {
    auto* bytes = static_cast<uint8*>(data);
    for (done = 0; done < size;) {
        size_t count = 0;
        const FileError error = file.readAt(offset + done, bytes + done, size - done, count);
        if (error || count == 0) return error;
        done += count;
    }
    return {};
}

String describe(const FileError& error) {
    return "; " + platform::errorText(error.value());
}

void warnNotDone(SmartCStr path, const char* action, const FileError& error) {
    logging::warning() << "'" << path.c_str() << "' could not be " << action << describe(error);
}

} // namespace qel::internal
