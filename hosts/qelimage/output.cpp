#include "output.h"

#include <hosts/shared/command_line.h>
#include <hosts/shared/file_replacement.h>
#include <hosts/shared/settings.h>
#include <hosts/shared/standard_output.h>
#include <qel/files/file.h>
#include <qel/foundation/base/buffer.h>
#include <qel/platform/system_error.h>

namespace qelimage {

namespace {

using qel::Image;

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

/// Returns true if @p text starts with a control character of two bytes in UTF-8, which terminals obey too.
bool isLongControl(std::string_view text) {
    if (text.size() < 2 || text[0] != '\xC2') return false;
    const auto second = static_cast<unsigned char>(text[1]);
    return second >= 0x80 && second <= 0x9F;
}

} // namespace

void complain(const std::string& text) {
    qelhosts::complain("qelimage", text);
}

std::string printable(std::string_view name) {
    std::string text;
    for (; !name.empty(); name.remove_prefix(1)) {
        const bool isLong = isLongControl(name);
        if (isLong) name.remove_prefix(1);
        const bool isShort = static_cast<unsigned char>(name[0]) < ' ' || name[0] == '\x7f';
        text += isLong || isShort ? '?' : name[0];
    }
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

int savePicture(const Image& image, const std::string& path, Image::Encoding encoding) {
    qel::Buffer bytes;
    if (!image.saveToMemory(bytes, encoding)) {
        complain("cannot encode " + quoted(path));
        return kTrouble;
    }
    if (path == "-") {
        qelhosts::print(bytes.getConstByteSpan().asText());
        return 0; // a failure is reported at the end
    }
    const auto error = qelhosts::replaceFile(path, bytes);
    if (error == std::errc::interrupted) return qelhosts::kInterruptedStatus;
    if (error) complain("cannot write " + quoted(path) + ": " + qel::platform::errorText(error.value()));
    return error ? kTrouble : 0;
}

} // namespace qelimage
