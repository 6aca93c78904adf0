#include <qel/foundation/base/compression.h>

#include <algorithm>
#include <new>

#include <zstd.h>

namespace qel::util {

namespace {

constexpr int kLevel = 3;
constexpr size_t kMaxBlockContent = 128 * 1024;

/// Returns the size of a frame's header from its descriptor byte (RFC 8878, section 3.1.1.1).
size_t getFrameHeaderSize(uint8 descriptor) {
    constexpr size_t kMagicAndDescriptor = 5;
    constexpr size_t kDictionaryIdSize[] = {0, 1, 2, 4};
    constexpr size_t kContentSizeSize[] = {0, 2, 4, 8};
    const bool singleSegment = (descriptor & 0x20) != 0;
    const unsigned contentSizeCode = descriptor >> 6;
    const size_t windowOrSmallSize = !singleSegment || contentSizeCode == 0 ? 1 : 0;
    return kMagicAndDescriptor + windowOrSmallSize + kDictionaryIdSize[descriptor & 3] +
           kContentSizeSize[contentSizeCode];
}

/// Returns the largest size that the blocks of the first frame can decompress to (RFC 8878, section 3.1.1.2).
uint64 getContentBound(ConstByteSpan frame) {
    constexpr size_t kBlockHeader = 3;
    constexpr unsigned kRleBlock = 1;
    uint64 bound = 0;
    size_t position = getFrameHeaderSize(frame[4]);
    for (bool last = false; !last && position + kBlockHeader <= frame.size;) {
        const unsigned header =
            frame[position] | unsigned{frame[position + 1]} << 8 | unsigned{frame[position + 2]} << 16;
        const unsigned type = header >> 1 & 3;
        const size_t size = header >> 3;
        last = (header & 1) != 0;
        bound += type > kRleBlock ? kMaxBlockContent : std::min(size, kMaxBlockContent);
        position += kBlockHeader + (type == kRleBlock ? 1 : size);
    }
    return bound;
}

} // namespace

std::optional<uint64> getCompressedContentSize(ConstByteSpan frame) {
    const unsigned long long size = ZSTD_getFrameContentSize(frame.data, frame.size);
    if (size == ZSTD_CONTENTSIZE_UNKNOWN || size == ZSTD_CONTENTSIZE_ERROR) return std::nullopt;
    return size;
}

bool compress(ConstByteSpan content, Buffer& out) {
    out.resize(ZSTD_compressBound(content.size));
    const size_t size =
        ZSTD_compress(out.getBytePointer(), out.getSize(), content.data, content.size, kLevel);
    const bool done = ZSTD_isError(size) == 0;
    out.resize(done ? size : 0);
    return done;
}

bool decompress(ConstByteSpan frame, Buffer& out) try {
    const std::optional<uint64> size = getCompressedContentSize(frame);
    if (!size || (*size != 0 && *size > getContentBound(frame))) return false;
    Buffer content(static_cast<size_t>(*size));
    uint8 none = 0; // zstd requires an address even if nothing is written
    uint8* target = content.empty() ? &none : content.getBytePointer();
    if (ZSTD_decompress(target, content.getSize(), frame.data, frame.size) != *size) return false;
    out.swap(content);
    return true;
} catch (const std::bad_alloc&) {
    return false; // a frame may decompress to more than the memory holds
}

} // namespace qel::util
