#include "output.h"

#include "file_replacement.h"

#include <hosts/shared/command_line.h>
#include <hosts/shared/settings.h>
#include <hosts/shared/standard_output.h>
#include <qel/files/file.h>
#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/write_whole.h>
#include <qel/platform/stream_redirection.h>
#include <qel/platform/system_error.h>

namespace qelimage {

namespace {

using qel::Image;
using qel::platform::FileError;
using qel::platform::StandardStream;

struct NamedEncoding {
    std::string_view name;
    Image::Encoding encoding;
};

constexpr NamedEncoding kEncodings[] = {
    {"png", Image::Encoding::Png}, {"webp", Image::Encoding::WebP}, {"bmp", Image::Encoding::Bmp}};

std::string lowerCase(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

} // namespace

void complain(const std::string& text) {
    qelhosts::complain("qelimage", text);
}

std::string printable(std::string_view name) {
    std::string text(name);
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
    return text;
}

std::string quoted(std::string_view name) {
    return qelhosts::inQuotes(printable(name));
}

std::optional<Image::Encoding> findEncoding(const std::string& path, const std::string& format) {
    std::string name = format;
    if (name.empty()) name = path == "-" ? "png" : lowerCase(qel::File::getExtensionFromPath(path));
    for (const NamedEncoding& named : kEncodings)
        if (named.name == name) return named.encoding;
    complain("the output must end in .png, .webp or .bmp: " + quoted(path));
    return std::nullopt;
}

Output::Output() {
    qel::platform::FileHandle errors = qel::platform::borrowStandardStream(StandardStream::Error);
    m_error = qel::platform::redirectStandardStream(StandardStream::Output, errors, m_standardOutput);
    errors.release();
}

void Output::print(std::string_view text) {
    if (!m_error) m_error = qel::writeWhole(m_standardOutput, text);
}

bool Output::save(const Image& image, const std::string& path, Image::Encoding encoding) {
    qel::Buffer bytes;
    if (!image.saveToMemory(bytes, encoding)) {
        complain("cannot encode " + quoted(path));
        return false;
    }
    return write(path, bytes);
}

bool Output::write(const std::string& path, qel::ConstByteSpan bytes) {
    if (path == "-") {
        print(bytes.asText());
        return !m_error;
    }
    const FileError error = replaceFile(path, bytes);
    if (error == std::errc::interrupted)
        m_wasInterrupted = true;
    else if (error)
        complain("cannot write " + quoted(path) + ": " + qel::platform::errorText(error.value()));
    return !error;
}

int Output::finish(int status) const {
    if (m_wasInterrupted) return qelhosts::kInterruptedStatus;
    if (!m_error) return status;
    complain("cannot write to standard output: " + qel::platform::errorText(m_error.value()));
    return kTrouble;
}

} // namespace qelimage
