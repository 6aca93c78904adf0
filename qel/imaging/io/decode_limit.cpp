#include <qel/imaging/io/codecs_p.h>

#include <atomic>

namespace qel {
namespace {

constinit std::atomic<uint64> g_maxPixels{uint64{1} << 28};

/// Pixels that any file may have, and how many more each of its bytes may bring. A PNG byte brings at most
/// 8,256: a deflate byte 1,032 bytes of eight pixels each.
constexpr uint64 kFreePixels = uint64{1} << 26;
constexpr uint64 kPixelsPerByte = 8256;

} // namespace

bool internal::isDecodable(uint64 width, uint64 height, uint64 fileSize) {
    const uint64 pixels = width * height; // both sides have at most 32 bits
    return pixels <= g_maxPixels && pixels <= kFreePixels + kPixelsPerByte * fileSize;
}

void internal::setMaxDecodedPixels(uint64 pixels) {
    g_maxPixels = pixels;
}

} // namespace qel
