#include <qel/imaging/io/codecs_p.h>

#include <qel/foundation/log/message_stream.h>

#include <webp/decode.h>
#include <webp/encode.h>

#include <memory>

namespace qel::internal {
namespace {

constexpr float kQuality = 70;

/// Memory of the codec library.
struct FreeByLibrary {
    void operator()(uint8* p) const { WebPFree(p); }
};

bool decodeInto(ConstByteSpan file, Image& image) {
    auto* decode = image.getImageFormat() == RGBA8 ? &WebPDecodeRGBAInto : &WebPDecodeRGBInto;
    return decode(file.data, file.size, image.getBytePointer(), image.getByteSize(), image.getPitch()) !=
           nullptr;
}

size_t encodeBy(const Image& image, uint8** bytes) {
    const int width = image.getWidth(), height = image.getHeight(), pitch = image.getPitch();
    const uint8* rows = image.getBytePointer();
    switch (image.getImageFormat()) {
    case RGB8:
        return WebPEncodeRGB(rows, width, height, pitch, kQuality, bytes);
    case RGBA8:
        return WebPEncodeRGBA(rows, width, height, pitch, kQuality, bytes);
    case BGR8:
        return WebPEncodeBGR(rows, width, height, pitch, kQuality, bytes);
    case BGRA8:
        return WebPEncodeBGRA(rows, width, height, pitch, kQuality, bytes);
    default:
        return 0;
    }
}

} // namespace

Decoded decodeWebP(ConstByteSpan file, Image& image) {
    int width = 0, height = 0;
    if (!WebPGetInfo(file.data, file.size, &width, &height)) return Decoded::Other;
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(file.data, file.size, &features) != VP8_STATUS_OK) return Decoded::No;
    if (features.has_animation) {
        logging::error() << "[WEBP] Not supporting WebP animations";
        return Decoded::No;
    }
    if (!isDecodable(static_cast<uint64>(width), static_cast<uint64>(height), file.size)) {
        logging::error() << "[WEBP] Too many pixels, size=" << width << "x" << height;
        return Decoded::No;
    }
    image.initialize(features.has_alpha ? RGBA8 : RGB8, {width, height});
    return image && decodeInto(file, image) ? Decoded::Yes : Decoded::No;
}

bool encodeWebP(const Image& image, Buffer& out) {
    uint8* bytes = nullptr;
    const size_t size = image.getByteSize() == 0 ? 0 : encodeBy(image, &bytes);
    const std::unique_ptr<uint8, FreeByLibrary> owner(bytes);
    if (size == 0) return false;
    out.set(bytes, size);
    return true;
}

} // namespace qel::internal
