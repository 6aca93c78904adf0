// PNG by lodepng. Its own inflate and checksums take most of the time, so that they are replaced at first; a
// file that fails then is decoded once more by lodepng alone, whose error numbers and texts are the result.
#include <qel/imaging/io/codecs_p.h>

#include <qel/foundation/base/write_whole.h>
#include <qel/imaging/io/png_chunks_p.h>
#include <qel/system/core/system.h>

#include <libdeflate.h>
#include <lodepng.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace qel::internal {
namespace {

constexpr unsigned kTooManyPixels = 92;
constexpr unsigned kOutputTooLong = 109;
constexpr unsigned kWrongOutputSize = 91;

struct FreeMemory {
    void operator()(uint8* p) const { std::free(p); }
};
using Pixels = std::unique_ptr<uint8, FreeMemory>;

struct FreeDecompressor {
    void operator()(libdeflate_decompressor* p) const { libdeflate_free_decompressor(p); }
};

/// What the replacement of inflate has to know about the pixels.
struct ImageStream {
    size_t compressed; ///< bytes of the chunks
    size_t raw;        ///< bytes of filtered rows that the header asks for
};

/// Bytes of the rows of one pass, each with the byte of its filter.
uint64 passBytes(uint64 width, uint64 height, uint64 bitsPerPixel) {
    return width == 0 ? 0 : height * (1 + (width * bitsPerPixel + 7) / 8);
}

/// Bytes of all filtered rows. Interlaced files hold seven passes.
uint64 filteredBytes(uint64 width, uint64 height, const LodePNGInfo& info) {
    static constexpr uint64 kStartX[] = {0, 4, 0, 2, 0, 1, 0}, kStartY[] = {0, 0, 4, 0, 2, 0, 1};
    static constexpr uint64 kStepX[] = {8, 8, 4, 4, 2, 2, 1}, kStepY[] = {8, 8, 8, 4, 4, 2, 2};
    const uint64 bits = lodepng_get_bpp(&info.color);
    if (info.interlace_method == 0) return passBytes(width, height, bits);
    uint64 bytes = 0;
    for (int i = 0; i < 7; ++i)
        bytes += passBytes((width + kStepX[i] - kStartX[i] - 1) / kStepX[i],
                           (height + kStepY[i] - kStartY[i] - 1) / kStepY[i], bits);
    return bytes;
}

/// Inflates the pixels; anything else in the file, such as a colour profile, goes to lodepng's own inflate.
unsigned inflateFast(unsigned char** out, size_t* outSize, const unsigned char* in, size_t inSize,
                     const LodePNGDecompressSettings* settings) {
    const auto* stream = static_cast<const ImageStream*>(settings->custom_context);
    if (inSize != stream->compressed) {
        LodePNGDecompressSettings own = *settings;
        own.custom_zlib = nullptr;
        return lodepng_zlib_decompress(out, outSize, in, inSize, &own);
    }
    const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> inflate(libdeflate_alloc_decompressor());
    Pixels rows(static_cast<uint8*>(std::malloc(stream->raw > 0 ? stream->raw : 1)));
    if (!inflate || !rows) return 1;
    size_t used = 0, written = 0;
    if (libdeflate_zlib_decompress_ex(inflate.get(), in, inSize, rows.get(), stream->raw, &used, &written) !=
        LIBDEFLATE_SUCCESS)
        return 1;
    if (used != inSize || written != stream->raw) return 1;
    std::free(*out);
    *out = rows.release();
    *outSize = written;
    return 0;
}

/// A decoder that returns 8-bit RGBA.
class Decoder {
public:
    Decoder() {
        lodepng_state_init(&state);
        state.decoder.read_text_chunks = 0;
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { lodepng_state_cleanup(&state); }

    unsigned run(ConstByteSpan file) {
        unsigned char* decoded = nullptr;
        const unsigned error = lodepng_decode(&decoded, &width, &height, &state, file.data, file.size);
        pixels.reset(decoded);
        return error;
    }

    LodePNGState state;
    Pixels pixels;
    unsigned width = 0, height = 0;
};

/// Decodes with the fast inflate. @return false if lodepng has to do it alone.
bool decodeFast(Decoder& decoder, ConstByteSpan file, uint64 rawBytes) {
    const PngChunks chunks = readPngChunks(file);
    if (!chunks.isSound) return false;
    const ImageStream stream{chunks.imageBytes, rawBytes};
    decoder.state.decoder.ignore_crc = 1;
    decoder.state.decoder.zlibsettings.custom_zlib = inflateFast;
    decoder.state.decoder.zlibsettings.custom_context = &stream;
    return decoder.run(file) == 0;
}

/// Decodes with lodepng alone. @return its error.
unsigned decodePlain(Decoder& decoder, ConstByteSpan file, uint64 rawBytes) {
    decoder.state.decoder.read_text_chunks = 1;
    decoder.state.decoder.zlibsettings.max_output_size = rawBytes;
    const unsigned error = decoder.run(file);
    return error == kOutputTooLong ? kWrongOutputSize : error;
}

/// Prints an error in one piece: others may read standard output line by line.
bool report(unsigned error) {
    char line[256];
    const int size = std::snprintf(line, sizeof line, "error %u: %s\n", error, lodepng_error_text(error));
    MutexLock lock(System::getStdOutMutex());
    static_cast<void>(writeToStandardStream(platform::StandardStream::Output,
                                            {line, std::min(static_cast<size_t>(size), sizeof line - 1)}));
    return false;
}

bool take(const Decoder& decoder, Image& image) {
    image.initialize(RGBA8, {static_cast<int>(decoder.width), static_cast<int>(decoder.height)});
    if (!image) return false;
    std::memcpy(image.getBytePointer(), decoder.pixels.get(), image.getByteSize());
    return true;
}

} // namespace

bool decodePng(ConstByteSpan file, Image& image) {
    Decoder header;
    if (const unsigned error =
            lodepng_inspect(&header.width, &header.height, &header.state, file.data, file.size))
        return report(error);
    if (!isDecodable(header.width, header.height, file.size)) return report(kTooManyPixels);
    const uint64 rawBytes = filteredBytes(header.width, header.height, header.state.info_png);
    Decoder fast;
    if (decodeFast(fast, file, rawBytes)) return take(fast, image);
    Decoder plain;
    if (const unsigned error = decodePlain(plain, file, rawBytes)) return report(error);
    return take(plain, image);
}

} // namespace qel::internal
