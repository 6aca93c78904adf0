// Tar entries for tests, written from the table of the format.
#pragma once

#include <cstdio>
#include <string>

namespace qel::test {

/// The fields of a header.
struct TarHeader {
    std::string name;
    std::string size; ///< the field's exact bytes
    char type = '0';
    std::string folder = {}; ///< the field "prefix"
    int sumError = 0;        ///< is added to the checksum to make it wrong
};

/// Returns the size field for @p size in octal form.
inline std::string octalSize(size_t size) {
    char text[13];
    std::snprintf(text, sizeof text, "%011zo", size);
    return text;
}

/// Returns one block of 512 bytes.
inline std::string tarBlock(const TarHeader& header) {
    std::string block(512, '\0');
    const auto put = [&](size_t place, const std::string& text) { block.replace(place, text.size(), text); };
    put(0, header.name);
    put(124, header.size);
    put(148, "        ");
    block[156] = header.type;
    put(257, std::string("ustar\00000", 8));
    put(345, header.folder);
    unsigned sum = 0;
    for (const char c : block) sum += static_cast<unsigned char>(c);
    char text[8];
    std::snprintf(text, sizeof text, "%06o", sum + static_cast<unsigned>(header.sumError));
    put(148, std::string(text, 7));
    return block;
}

/// Returns a whole entry: header, content, and zeros up to a multiple of 512 bytes.
inline std::string tarEntry(const std::string& name, const std::string& content, char type = '0',
                            const std::string& folder = "") {
    const std::string padding((512 - content.size() % 512) % 512, '\0');
    return tarBlock({name, octalSize(content.size()), type, folder}) + content + padding;
}

/// Returns the two zero blocks at the end.
inline std::string tarEnd() {
    return std::string(1024, '\0');
}

} // namespace qel::test
