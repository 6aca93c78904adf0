#include <qel/imaging/pixels/image.h>

#include <qel/files/file.h>
#include <qel/files/file_replace.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/foundation/log/message_stream.h>
#include <qel/platform/file_system.h>
#include <qel/platform/system_error.h>
#include <qel/system/core/system.h>

#include <optional>
#include <string_view>

namespace qel {

using platform::FileError;
using platform::FileHandle;
using platform::OpenMode;

namespace {

/// The converter of setImageMagick().
struct Converter {
    String program;
    String temporaryDirectory;
};

Converter& converter() {
    static Converter instance;
    return instance;
}

std::optional<Image::Encoding> encodingOf(std::string_view path, bool forceBmp) {
    if (forceBmp || path.ends_with(".bmp")) return Image::Encoding::Bmp;
    if (path.ends_with(".png")) return Image::Encoding::Png;
    if (path.ends_with(".webp")) return Image::Encoding::WebP;
    return std::nullopt;
}

bool logFailure(const char* path, const FileError& error) {
    logging::error() << "cant write file '" << path << "'; " << platform::errorText(error.value());
    return false;
}

/// Writes what is open at its start. If it can't be written whole, a new file is removed, and the file that a
/// link names is emptied, so that no partial picture stays.
bool writeOpen(FileHandle& file, const char* path, bool isNew, const Buffer& bytes) {
    FileError error = writeWhole(file, bytes.getConstByteSpan().asText());
    if (error && !isNew) static_cast<void>(file.setSize(0)); // devices and pipes have no size
    if (const FileError closing = file.close(); !error) error = closing;
    if (!error) return true;
    if (isNew) static_cast<void>(platform::removeFile(path));
    return logFailure(path, error);
}

/// Replaces a file that the user may write by a new one with the same permissions. A failure leaves it
/// unchanged.
bool replaceFile(const char* path, uint32 permissions, const Buffer& bytes) {
    FileHandle existing;
    FileError error = platform::openFile(existing, path, OpenMode::Write);
    if (!error) error = internal::tryReplaceFile(path, bytes.getConstByteSpan(), permissions);
    return !error || logFailure(path, error);
}

bool writeFile(const char* path, const Buffer& bytes) {
    platform::FileStatus status;
    FileError error = platform::readStatus(status, path, platform::Links::Keep);
    if (!error && status.kind == platform::FileKind::File) return replaceFile(path, status.mode, bytes);
    const bool isNew = error == std::errc::no_such_file_or_directory;
    FileHandle file;
    error = platform::openFile(file, path, isNew ? OpenMode::CreateNew : OpenMode::CreateOrEmpty);
    return error ? logFailure(path, error) : writeOpen(file, path, isNew, bytes);
}

/// Puts a path between the double quotes of a command line, where quotes and backslashes need a backslash.
String quoted(std::string_view path, bool isOption) {
    String text = isOption && path.starts_with('-') ? "\"./" : "\"";
    for (const char c : path) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return text + "\"";
}

/// A new file for the converter to read, removed at the end.
class TemporaryBmp {
public:
    ~TemporaryBmp() {
        m_file.close();
        if (!m_path.empty()) File::deleteFile(m_path);
    }

    /// Creates the file exclusively, so that nothing is written through a link of that name.
    bool create() {
        const String directory = folder();
        FileError error;
        do {
            const String path = directory + std::to_string(Object::system()->getUTCDateTimeUnique()) + ".bmp";
            error = platform::openFile(m_file, path.c_str(), OpenMode::CreateNew);
            if (!error) m_path = path;
            if (error && error != std::errc::file_exists) return logFailure(path.c_str(), error);
        } while (error);
        return true;
    }
    bool write(const Buffer& bytes) { return writeOpen(m_file, m_path.c_str(), true, bytes); }
    const String& path() const { return m_path; }

private:
    static String folder() {
        if (!converter().temporaryDirectory.empty()) return converter().temporaryDirectory;
        std::string system;
        static_cast<void>(platform::temporaryDirectory(system));
        String path(system);
        File::pathEndWithSeparator(path);
        return path;
    }

    FileHandle m_file;
    String m_path;
};

bool convertBy(const String& program, const Image& image, const char* path) {
    if (!Object::system() || *path == 0)
        return logFailure(path, std::make_error_code(std::errc::invalid_argument));
    Buffer bytes;
    TemporaryBmp temporary;
    if (!image.saveToMemory(bytes, Image::Encoding::Bmp) || !temporary.create() || !temporary.write(bytes))
        return false;
    const String line =
        quoted(program, false) + " " + quoted(temporary.path(), true) + " " + quoted(path, true);
    if (System::runCommand(line, 0) == 0) return true;
    logging::error() << "converting image to output failed, commandline: " << line;
    return false;
}

/// Makes the separators of a path those of the host; a path that exists as it is stays.
String hostPath(String path) {
    if (!File::existsFile(path)) File::pathSeparatorToHost(path);
    return path;
}

} // namespace

bool Image::saveTo(const char* path, bool forceBmp) const {
    path = path ? path : "";
    const std::optional<Encoding> encoding = encodingOf(path, forceBmp);
    if (!encoding) {
        if (!converter().program.empty()) return convertBy(converter().program, *this, path);
        logging::error() << "unsupported save format, filePath=" << path;
        return false;
    }
    Buffer bytes;
    return saveToMemory(bytes, *encoding) && writeFile(path, bytes);
}

void Image::setImageMagick(const char* convertPath, const char* temporaryDirectory) {
    converter().program = hostPath(convertPath ? convertPath : "");
    String directory = hostPath(temporaryDirectory ? temporaryDirectory : "");
    File::pathEndWithSeparator(directory);
    converter().temporaryDirectory = directory;
}

} // namespace qel
