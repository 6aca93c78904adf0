#include <qel/imaging/io/codecs_p.h>

#include <qel/imaging/io/png_filter_p.h>

#include <libdeflate.h>
#include <lodepng.h>

#include <cstdlib>
#include <memory>

namespace qel::internal {
namespace {

constexpr int kCompressionLevel = 6;

struct FreeCompressor {
    void operator()(libdeflate_compressor* p) const { libdeflate_free_compressor(p); }
};

unsigned deflateFast(unsigned char** out, size_t* outSize, const unsigned char* in, size_t inSize,
                     const LodePNGCompressSettings*) {
    const std::unique_ptr<libdeflate_compressor, FreeCompressor> deflate(
        libdeflate_alloc_compressor(kCompressionLevel));
    if (!deflate) return 1;
    const size_t bound = libdeflate_zlib_compress_bound(deflate.get(), inSize);
    auto* bytes = static_cast<unsigned char*>(std::malloc(bound));
    if (!bytes) return 1;
    *out = bytes; // lodepng frees it
    *outSize = libdeflate_zlib_compress(deflate.get(), in, inSize, bytes, bound);
    return *outSize == 0 ? 1 : 0;
}

} // namespace

bool encodePng(const Image& image, Buffer& out) {
    if (image.getByteSize() == 0) return false; // the format has no empty pictures
    const LodePNGColorType colours = image.getImageFormat() == RGBA8 ? LCT_RGBA : LCT_RGB;
    const std::vector<uint8> filters = choosePngFilters(image);
    LodePNGState state;
    lodepng_state_init(&state);
    state.info_raw.colortype = state.info_png.color.colortype = colours;
    state.encoder.auto_convert = 0;
    state.encoder.filter_palette_zero = 0;
    state.encoder.filter_strategy = LFS_PREDEFINED;
    state.encoder.predefined_filters = filters.data();
    state.encoder.zlibsettings.custom_zlib = deflateFast;
    unsigned char* bytes = nullptr;
    size_t size = 0;
    const unsigned error =
        lodepng_encode(&bytes, &size, image.getBytePointer(), static_cast<unsigned>(image.getWidth()),
                       static_cast<unsigned>(image.getHeight()), &state);
    lodepng_state_cleanup(&state);
    if (error == 0) out.set(bytes, size);
    std::free(bytes);
    return error == 0;
}

} // namespace qel::internal
