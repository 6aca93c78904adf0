#include <hosts/shared/file_replacement.h>

#include <qel/files/file.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/system/core/system.h>

#include <optional>

namespace qelhosts {

namespace {

using namespace qel::platform;

/// A file that is written before it gets its name.
class NewFile {
public:
    ~NewFile() {
        m_file.close();
        if (!m_path.empty()) static_cast<void>(removeFile(m_path.c_str()));
    }

    /// Creates the file in the folder of @p place, under a name that is not taken.
    FileError create(const std::string& place) {
        const std::string folder = place.substr(0, place.rfind('/') + 1);
        for (int i = 0;; ++i) {
            const std::string path = folder + ".unfinished-" +
                                     std::to_string(qel::Object::system()->getProcessID()) + "-" +
                                     std::to_string(i) + ".new";
            const FileError error = openFile(m_file, path.c_str(), OpenMode::CreateNew);
            if (!error) m_path = path;
            if (error != std::errc::file_exists) return error;
        }
    }
    /// Writes the content. @param mode  the permission bits; none for those of new files.
    FileError write(qel::ConstByteSpan bytes, std::optional<std::uint32_t> mode) {
        FileError error = qel::writeWhole(m_file, bytes.asText());
        if (!error && mode) error = setMode(m_file, *mode & 0777);
        if (!error) error = m_file.sync();
        if (const FileError closing = m_file.close(); !error) error = closing;
        return error;
    }
    /// Names the file.
    FileError moveTo(const std::string& place) {
        if (qel::System::wasInterruptHandlerCalled()) return std::make_error_code(std::errc::interrupted);
        const FileError error = qel::platform::rename(m_path.c_str(), place.c_str());
        if (!error) m_path.clear();
        return error;
    }

private:
    FileHandle m_file;
    std::string m_path; ///< empty if there is no file to remove
};

FileError writeNew(const std::string& place, qel::ConstByteSpan bytes, std::optional<std::uint32_t> mode) {
    qel::System::installInterruptHandler();
    NewFile file;
    FileError error = file.create(place);
    if (!error) error = file.write(bytes, mode);
    if (!error) error = file.moveTo(place);
    return error;
}

/// Replaces the file that @p path names, if the user may write to it.
FileError replaceExisting(const std::string& path, qel::ConstByteSpan bytes, std::uint32_t mode) {
    std::string place;
    FileHandle existing;
    FileError error = resolvePath(place, path.c_str());
    if (!error) error = openFile(existing, place.c_str(), OpenMode::Write);
    return error ? error : writeNew(place, bytes, mode);
}

FileError writeDirectly(const std::string& path, qel::ConstByteSpan bytes) {
    FileHandle file;
    FileError error = openFile(file, path.c_str(), OpenMode::Write);
    if (!error) error = qel::writeWhole(file, bytes.asText());
    if (const FileError closing = file.close(); !error) error = closing;
    return error;
}

bool isMissing(const FileError& error) {
    return error == std::errc::no_such_file_or_directory;
}

} // namespace

bool isReplaceable(const std::string& path) {
    FileStatus status;
    const FileError error = readStatus(status, path.c_str());
    return error ? isMissing(error) : status.kind == FileKind::File;
}

bool isSameFile(const std::string& a, const std::string& b) {
    FileStatus statusA, statusB;
    const auto read = [](FileStatus& status, const std::string& path) {
        return !readStatus(status, path.empty() ? "." : path.c_str());
    };
    return read(statusA, a) && read(statusB, b) && statusA.identity == statusB.identity;
}

FileError replaceFile(const std::string& path, qel::ConstByteSpan bytes) {
    FileStatus status;
    const FileError error = readStatus(status, path.c_str());
    if (error) {
        FileStatus link; // one without a target is not replaced
        const bool isFree = isMissing(error) && isMissing(readStatus(link, path.c_str(), Links::Keep));
        return isFree ? writeNew(path, bytes, std::nullopt) : error;
    }
    return status.kind == FileKind::File ? replaceExisting(path, bytes, status.mode)
                                         : writeDirectly(path, bytes);
}

} // namespace qelhosts
