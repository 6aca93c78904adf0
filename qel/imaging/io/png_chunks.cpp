#include <qel/imaging/io/png_chunks_p.h>

#include <qel/foundation/base/types.h>

#include <libdeflate.h>

#include <cstring>

namespace qel::internal {
namespace {

constexpr size_t kSignature = 8;
constexpr size_t kFrame = 12; // length, type and checksum around the data of a chunk

uint32 readBigEndian(const uint8* p) {
    return uint32{p[0]} << 24 | uint32{p[1]} << 16 | uint32{p[2]} << 8 | p[3];
}

} // namespace

bool hasSoundPngChunks(ConstByteSpan file) {
    for (size_t at = kSignature; at <= file.size && file.size - at >= kFrame;) {
        const uint8* chunk = file.data + at;
        const size_t length = readBigEndian(chunk);
        if (length > file.size - at - kFrame) return false;
        if (libdeflate_crc32(0, chunk + 4, length + 4) != readBigEndian(chunk + 8 + length)) return false;
        if (std::memcmp(chunk + 4, "IEND", 4) == 0) return true;
        at += kFrame + length;
    }
    return false;
}

} // namespace qel::internal
