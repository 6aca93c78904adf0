// PNG files: any bytes become an RGBA8 picture, or nothing at all. A picture that was read survives being
// saved.
#include <fuzz/image_file.h>
#include <qel/foundation/base/buffer.h>

#include <libdeflate.h>

#include <cstring>
#include <random>

using namespace qel;

extern "C" size_t LLVMFuzzerMutate(uint8* data, size_t size, size_t maxSize);

namespace {

constexpr size_t kSignature = 8;
constexpr size_t kFrame = 12;

uint32 readBigEndian(const uint8* p) {
    return uint32{p[0]} << 24 | uint32{p[1]} << 16 | uint32{p[2]} << 8 | p[3];
}

/// Writes the checksum that each whole chunk asks for.
void sign(uint8* file, size_t size) {
    for (size_t at = kSignature; at + kFrame <= size;) {
        const size_t length = readBigEndian(file + at);
        if (length > size - at - kFrame) return;
        const uint32 crc = libdeflate_crc32(0, file + at + 4, length + 4);
        for (int i = 0; i < 4; ++i)
            file[at + 8 + length + static_cast<size_t>(i)] = static_cast<uint8>(crc >> (24 - 8 * i));
        at += kFrame + length;
    }
}

/// Returns false for WebP files, with or without a container.
bool isPng(const uint8* data, size_t size) {
    return size >= kSignature && std::memcmp(data, "\x89PNG\r\n\x1a\n", kSignature) == 0;
}

} // namespace

// Random bytes hardly ever have the right checksum, so that most files get it.
extern "C" size_t LLVMFuzzerCustomMutator(uint8* data, size_t size, size_t maxSize, unsigned seed) {
    std::minstd_rand random(seed);
    size = LLVMFuzzerMutate(data, size, maxSize);
    if (random() % 8 != 0) sign(data, size);
    return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    Image image;
    const bool isLoaded = loadQuietly(image, data, size);
    require(isLoaded == image.hasPixels());
    if (!isLoaded || !isPng(data, size)) return 0;
    require(image.getImageFormat() == RGBA8);
    if (image.getByteSize() > 1 << 16) return 0;
    Buffer file;
    Image again;
    require(image.saveToMemory(file, Image::Encoding::Png));
    require(again.loadFromMemory(file));
    require(again.getSize() == image.getSize());
    require(std::memcmp(again.getBytePointer(), image.getBytePointer(), image.getByteSize()) == 0);
    return 0;
}
