// PNG files of every kind, written by hand for tests: stored blocks instead of compression.
#pragma once

#include <cstdint>
#include <string>

namespace qel::test {

/// Properties of a file.
struct PngKind {
    unsigned width = 1, height = 1;
    int depth = 8, colourType = 6;
    bool isInterlaced = false;
};

inline std::string bigEndian(std::uint32_t v) {
    return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
            static_cast<char>(v)};
}

/// The checksum of chunks, a bit at a time.
inline std::uint32_t crcOf(const std::string& bytes) {
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int i = 0; i < 8; ++i) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

inline std::string pngChunk(const std::string& type, const std::string& data) {
    return bigEndian(static_cast<std::uint32_t>(data.size())) + type + data + bigEndian(crcOf(type + data));
}

/// Wraps bytes as a zlib stream of stored blocks.
inline std::string storedZlib(const std::string& raw) {
    std::string out = "\x78\x01";
    for (std::size_t at = 0; at == 0 || at < raw.size(); at += 65535) {
        const std::string block = raw.substr(at, 65535);
        const auto n = static_cast<unsigned>(block.size());
        out += at + 65535 >= raw.size() ? '\1' : '\0';
        for (const unsigned v : {n, ~n}) {
            out += static_cast<char>(v);
            out += static_cast<char>(v >> 8);
        }
        out += block;
    }
    std::uint32_t a = 1, b = 0;
    for (const char c : raw) {
        a = (a + static_cast<unsigned char>(c)) % 65521;
        b = (b + a) % 65521;
    }
    return out + bigEndian(b << 16 | a);
}

inline std::string pngHeader(const PngKind& kind) {
    const std::string form = {static_cast<char>(kind.depth), static_cast<char>(kind.colourType), '\0', '\0',
                              static_cast<char>(kind.isInterlaced)};
    return "\x89PNG\r\n\x1A\n" + pngChunk("IHDR", bigEndian(kind.width) + bigEndian(kind.height) + form);
}

/// A whole file of these filtered rows. @param extra  chunks between the header and the pixels.
inline std::string pngFile(const PngKind& kind, const std::string& rows, const std::string& extra = "") {
    return pngHeader(kind) + extra + pngChunk("IDAT", storedZlib(rows)) + pngChunk("IEND", "");
}

} // namespace qel::test
