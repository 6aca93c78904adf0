#include <qel/imaging/io/codecs_p.h>

#include <cstring>

namespace qel::internal {
namespace {

constexpr size_t kHeaderSize = 54;
constexpr uint32 kPixelsPerMetre = 3800;

/// Writes numbers in little-endian order, one after the other.
class LittleEndianWriter {
public:
    explicit LittleEndianWriter(uint8* p) : m_p(p) {}

    LittleEndianWriter& put16(uint32 value) {
        *m_p++ = static_cast<uint8>(value);
        *m_p++ = static_cast<uint8>(value >> 8);
        return *this;
    }
    LittleEndianWriter& put32(uint32 value) { return put16(value).put16(value >> 16); }

private:
    uint8* m_p;
};

void writeHeader(uint8* p, const Image& image, uint32 fileSize, uint32 bits) {
    p[0] = 'B';
    p[1] = 'M';
    LittleEndianWriter(p + 2)
        .put32(fileSize)
        .put32(0)
        .put32(kHeaderSize)
        .put32(40) // size of the rest of the header
        .put32(static_cast<uint32>(image.getWidth()))
        .put32(static_cast<uint32>(image.getHeight())) // positive: rows run from the bottom to the top
        .put16(1)
        .put16(bits)
        .put32(0)
        .put32(0)
        .put32(kPixelsPerMetre)
        .put32(kPixelsPerMetre)
        .put32(0)
        .put32(0);
}

} // namespace

bool encodeBmp(const Image& image, Buffer& out) {
    const size_t pixelBytes = image.getImageFormat() == BGRA8 ? 4 : 3;
    const uint64 rowSize = pixelBytes * static_cast<uint64>(image.getWidth());
    const uint64 paddedSize = (rowSize + 3) & ~uint64{3};
    const uint64 fileSize = kHeaderSize + paddedSize * static_cast<uint64>(image.getHeight());
    if (fileSize > 0xFFFFFFFF) return false;
    Buffer file(fileSize);
    writeHeader(file.getBytePointer(), image, static_cast<uint32>(fileSize),
                static_cast<uint32>(pixelBytes * 8));
    uint8* row = file.getBytePointer() + kHeaderSize;
    for (int y = image.getHeight() - 1; y >= 0 && rowSize > 0; --y, row += paddedSize) {
        std::memcpy(row, image.getBytePointer(y), rowSize);
        std::memset(row + rowSize, 0, paddedSize - rowSize);
    }
    out.swap(file);
    return true;
}

} // namespace qel::internal
