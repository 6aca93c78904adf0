#include "reader_source.h"

#include <hosts/shared/settings.h>

#include <qel/files/directory.h>
#include <qel/files/file.h>
#include <qel/platform/file_system.h>
#include <qel/platform/system_error.h>

#include <algorithm>

namespace qelscreens {

namespace {

using namespace qel::platform;

std::string cannotRead(const std::string& path, const std::string& reason) {
    return "cannot read " + qelhosts::inQuotes(path) + ": " + reason;
}

bool isPicture(const qel::String& name) {
    const qel::String extension = qel::File::getExtensionFromPath(name).utf8_lowercase();
    return extension == "png" || extension == "webp";
}

bool comesFirst(const std::string& a, const std::string& b) {
    const int order = qel::String::natural_compare(a.c_str(), b.c_str());
    return order != 0 ? order < 0 : a < b;
}

ReaderSource openFolder(const std::string& path) {
    ReaderSource source;
    qel::Directory directory;
    directory.open(path);
    qel::File::FileInfo info;
    while (source.pictures.size() < kMostPictures && directory.read(info)) {
        if (info.isDirectory || info.isSpecial || info.name.begins_with('.') || !isPicture(info.name))
            continue;
        source.pictures.push_back(directory.getPathWithSlash() + info.name);
    }
    if (directory.hasFailed())
        source.problem = cannotRead(path, errorText(directory.getError().value()));
    else if (source.pictures.empty())
        source.problem = "there are no PNG or WebP files in " + qelhosts::inQuotes(path);
    std::sort(source.pictures.begin(), source.pictures.end(), &comesFirst);
    return source;
}

} // namespace

qel::String prepareMarkdown(std::string_view source) {
    qel::String text;
    text.reserve(source.size() + source.size() / 8);
    bool isLineEmpty = true;
    for (const char c : source) {
        if (c == '\r' || c == '\0') continue;
        if (c == '\n' && isLineEmpty) text += ' ';
        isLineEmpty = c == '\n';
        if (c == '\t')
            text += "    ";
        else
            text += c;
        if (c == '{') text += '!';
    }
    return text.utf8_fix();
}

std::string readFile(qel::Buffer& content, const std::string& path, size_t mostBytes) {
    FileHandle file;
    FileStatus status;
    FileError error = openFile(file, path.c_str(), OpenMode::Read);
    if (!error) error = readStatus(status, file);
    if (!error && status.kind != FileKind::File) return cannotRead(path, "it is not a file");
    if (!error && status.size > mostBytes) error = std::make_error_code(std::errc::file_too_large);
    content.resize(error ? 0 : static_cast<size_t>(status.size));
    size_t size = 0;
    for (size_t done = 1; !error && done != 0 && size < content.getSize(); size += done)
        error = file.read(content.getBytePointer() + size, content.getSize() - size, done);
    content.resize(size);
    return error ? cannotRead(path, errorText(error.value())) : std::string();
}

ReaderSource ReaderSource::open(const std::string& path) {
    bool isFolder = false;
    if (qel::File::checkIfDirectory(path, isFolder) && isFolder) return openFolder(path);
    ReaderSource source;
    qel::Buffer content;
    source.problem = readFile(content, path, kMostTextBytes);
    if (source.problem.empty()) source.text = prepareMarkdown(content.getConstByteSpan().asText());
    return source;
}

} // namespace qelscreens
