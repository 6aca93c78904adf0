#include "input_file.h"

#include "library_output.h"
#include "output.h"

#include <qel/files/memory_map.h>
#include <qel/imaging/pixels/file_signature.h>
#include <qel/platform/console.h>
#include <qel/platform/system_error.h>

#include <array>
#include <sstream>

namespace qelimage {

namespace {

using namespace qel::platform;

constexpr std::size_t kMostStreamBytes = std::size_t(1) << 30;
constexpr std::size_t kChunkBytes = 256 * 1024;

/// Reads from the start of @p file until @p bytes are there or the file ends.
FileError readStart(const FileHandle& file, std::string& bytes) {
    std::size_t size = 0;
    std::size_t done = 1;
    FileError error;
    while (!error && done != 0 && size < bytes.size()) {
        error = file.readAt(size, bytes.data() + size, bytes.size() - size, done);
        size += done;
    }
    bytes.resize(size);
    return error;
}

FileError openInput(FileHandle& file, const std::string& path) {
    if (path != "-") return openFile(file, path.c_str(), OpenMode::Read);
    file = borrowStandardStream(StandardStream::Input);
    return {};
}

std::string cannotRead(const std::string& path, const FileError& error) {
    return "cannot read " + nameOfInput(path) + ": " + errorText(error.value());
}

} // namespace

std::string_view typeOf(std::string_view firstBytes) {
    if (firstBytes.starts_with("RIFF") && firstBytes.substr(0, 12).ends_with("WEBP")) return "WebP";
    constexpr std::array<std::string_view, 7> kNames{"", "DICOM", "JPEG", "PNG", "BMP", "PDF", "ZIP"};
    std::istringstream stream{std::string(firstBytes)};
    const auto type = static_cast<std::size_t>(qel::util::detectFileType(stream));
    return type < kNames.size() ? kNames[type] : "";
}

std::string InputFile::open(const std::string& path, Special special) {
    const bool isStandardInput = path == "-" && special == Special::Read;
    FileHandle file;
    FileStatus status;
    FileError error = isStandardInput ? openInput(file, path) : openFile(file, path.c_str(), OpenMode::Read);
    if (!error) error = readStatus(status, file);
    m_path = path;
    m_isStream = isStandardInput || status.kind != FileKind::File;
    if (!error && status.kind == FileKind::Directory) error = std::make_error_code(std::errc::is_a_directory);
    if (!error && m_isStream && special == Special::Refuse) return nameOfInput(path) + " is not a file";
    if (!error && m_isStream) error = readStream(file);
    if (isStandardInput) file.release();
    if (error) return cannotRead(path, error);
    std::string start(m_content.getConstByteSpan().asText().substr(0, kSignatureBytes));
    m_size = m_content.getSize();
    if (!m_isStream) {
        start.assign(kSignatureBytes, '\0');
        error = readStart(file, start);
        m_size = status.size;
    }
    m_type = typeOf(start);
    return error ? cannotRead(path, error) : std::string();
}

/// Reads a device or a pipe to its end.
FileError InputFile::readStream(FileHandle& file) {
    for (;;) {
        if (const FileError error = waitUntilReady(file, Readiness::Reading)) return error;
        const std::size_t size = m_content.getSize();
        if (size > kMostStreamBytes) return std::make_error_code(std::errc::file_too_large);
        m_content.resizeExtraReserve(size + kChunkBytes);
        std::size_t done = 0;
        const FileError error = file.read(m_content.getBytePointer() + size, kChunkBytes, done);
        m_content.resize(size + done);
        if (error == std::errc::resource_unavailable_try_again) continue;
        if (error || done == 0) return error;
    }
}

bool InputFile::decode(qel::Image& image) const {
    if (m_isStream) return image.loadFromMemory(m_content);
    qel::MemoryMap map(m_path.c_str(), qel::MemoryMap::ReadOnly);
    return map.isValid() && image.loadFromMemory(&map);
}

std::string nameOfInput(const std::string& path) {
    return path == "-" ? "standard input" : quoted(path);
}

bool decodePicture(qel::Image& image, const InputFile& file) {
    const LibraryOutput redirection(LibraryOutput::To::Errors);
    return file.decode(image);
}

bool loadPicture(qel::Image& image, const std::string& path) {
    InputFile file;
    std::string problem = file.open(path);
    if (problem.empty() && !file.isPicture()) problem = "not a PNG or WebP file: " + nameOfInput(path);
    if (problem.empty() && !decodePicture(image, file)) problem = "cannot decode " + nameOfInput(path);
    if (!problem.empty()) complain(problem);
    return problem.empty();
}

} // namespace qelimage
