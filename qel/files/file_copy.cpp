#include <qel/files/file_copy_p.h>

#include <qel/files/file.h>
#include <qel/files/file_replace.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/foundation/log/message_stream.h>

#include <fmt/format.h>

#include <atomic>

namespace qel::internal {

namespace {

using platform::FileStatus;

// A file with a temporary name next to its final place; removed unless it is put in place.
class UnfinishedFile {
public:
    explicit UnfinishedFile(const FilePlace& place) : m_place(place) {}
    ~UnfinishedFile() {
        m_file.close();
        if (!m_name.empty()) platform::removeFile(m_name.c_str(), m_place.folder);
    }

    FileHandle& file() { return m_file; }

    FileError open(uint32 mode);
    /// @param modified  null for now.
    FileError putInPlace(const platform::FileTime* modified);

private:
    const FilePlace& m_place;
    FileHandle m_file;
    String m_name;
};

// The name is short, so that it is valid wherever the final one is. The permissions are set before anything
// is written, so that the content is never readable by a user who may not read the source.
FileError UnfinishedFile::open(uint32 mode) {
    static std::atomic<uint32> number{0};
    String folder = File::stripFilenameFromPath(m_place.name);
    File::pathEndWithSeparator(folder);
    for (;;) {
        const String name = folder + fmt::format(".qel-copy-{:08x}", number.fetch_add(1));
        const FileError error = platform::openFile(m_file, name.c_str(), platform::OpenMode::CreateNew,
                                                   platform::Links::Keep, m_place.folder);
        if (error == std::errc::file_exists) continue;
        if (error) return error;
        m_name = name;
        return platform::setMode(m_file, mode & 0777);
    }
}

FileError UnfinishedFile::putInPlace(const platform::FileTime* modified) {
    FileError error = m_file.close();
    if (!error && modified) error = platform::setModified(m_name.c_str(), modified, m_place.folder);
    if (!error) error = platform::rename(m_name.c_str(), m_place.name, m_place.folder, m_place.folder);
    if (!error) m_name.clear();
    return error;
}

FileError transfer(const FileHandle& from, FileHandle& to) {
    Buffer block(256 * 1024);
    for (uint64 offset = 0;;) {
        size_t count = 0;
        if (FileError error = readFully(from, offset, block.getBytePointer(), block.getSize(), count))
            return error;
        if (FileError error = writeWhole(to, block.getConstByteSpan().asText().substr(0, count)))
            return error;
        if (count < block.getSize()) return {};
        offset += count;
    }
}

// Refuses to replace a device, pipe or socket.
FileError testPlace(const FilePlace& place) {
    FileStatus status;
    const FileError error = platform::readStatus(status, place.name, platform::Links::Keep, place.folder);
    if (error == std::errc::no_such_file_or_directory) return {};
    const bool isSpecial = !error && status.kind == platform::FileKind::Other;
    return isSpecial ? std::make_error_code(std::errc::not_supported) : error;
}

} // namespace

FileError copyFileContent(const FilePlace& from, const FilePlace& to, platform::Links links) {
    FileHandle source;
    FileStatus status;
    if (FileError error = openForReading(source, from.name, links, from.folder)) return error;
    if (FileError error = platform::readStatus(status, source)) return error;
    if (status.kind != platform::FileKind::File) return std::make_error_code(std::errc::invalid_argument);

    if (FileError error = testPlace(to)) return error;
    UnfinishedFile target(to);
    if (FileError error = target.open(status.mode)) return error;
    if (FileError error = transfer(source, target.file())) return error;
    return target.putInPlace(&status.modified);
}

FileError tryReplaceFile(SmartCStr path, ConstByteSpan content, uint32 permissions) {
    const FileHandle workingFolder;
    const FilePlace place{workingFolder, path.c_str()};
    UnfinishedFile target(place);
    FileError error = target.open(permissions);
    if (!error) error = writeWhole(target.file(), content.asText());
    if (!error) error = target.file().sync();
    if (!error) error = target.putInPlace(nullptr);
    return error;
}

bool replaceFile(SmartCStr path, ConstByteSpan content) {
    const FileError error = tryReplaceFile(path, content, 0644);
    if (error) logging::error() << "cant write file '" << path.c_str() << "'" << describe(error);
    return !error;
}

} // namespace qel::internal
