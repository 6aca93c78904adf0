// PNG by lodepng. Its own inflate and checksums take most of the time, so that they are replaced. A stream or
// a checksum that is damaged is given to lodepng after all, whose error numbers and texts are the result.
#include <qel/imaging/io/codecs_p.h>

#include <qel/foundation/base/write_whole.h>
#include <qel/imaging/io/png_chunks_p.h>
#include <qel/system/core/system.h>

#include <libdeflate.h>
#include <lodepng.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace qel::internal {
namespace {

constexpr unsigned kWrongOutputSize = 91;
constexpr unsigned kTooManyPixels = 92;
constexpr unsigned kOutputTooLong = 109;
constexpr unsigned kReplacedInflateFailed = 110;
/// The most bytes that a byte of a deflate stream becomes.
constexpr size_t kMostInflation = 1032;

struct FreeMemory {
    void operator()(uint8* p) const { std::free(p); }
};
using Pixels = std::unique_ptr<uint8, FreeMemory>;

struct FreeDecompressor {
    void operator()(libdeflate_decompressor* p) const { libdeflate_free_decompressor(p); }
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

/// Inflates a stream without errors of at most @p most bytes. @return false for other streams.
bool inflateSound(unsigned char** out, size_t* outSize, ConstByteSpan stream, size_t most) {
    const size_t room = std::max<size_t>(std::min(most, stream.size * kMostInflation), 1);
    const std::unique_ptr<libdeflate_decompressor, FreeDecompressor> inflate(libdeflate_alloc_decompressor());
    Pixels bytes(static_cast<uint8*>(std::malloc(room)));
    if (!inflate || !bytes) return false;
    size_t used = 0, written = 0;
    const libdeflate_result result = libdeflate_zlib_decompress_ex(inflate.get(), stream.data, stream.size,
                                                                   bytes.get(), room, &used, &written);
    if (result != LIBDEFLATE_SUCCESS || used != stream.size) return false;
    std::free(*out);
    *out = bytes.release();
    *outSize = written;
    return true;
}

/// Replaces the inflate of lodepng, which knows the largest size of each stream. The context receives the
/// error of lodepng's own inflate, in whose place it reports another one.
unsigned inflateFast(unsigned char** out, size_t* outSize, const unsigned char* in, size_t inSize,
                     const LodePNGDecompressSettings* settings) {
    if (inflateSound(out, outSize, {in, inSize}, settings->max_output_size)) return 0;
    LodePNGDecompressSettings own = *settings;
    own.custom_zlib = nullptr;
    const unsigned error = lodepng_zlib_decompress(out, outSize, in, inSize, &own);
    *static_cast<unsigned*>(const_cast<void*>(settings->custom_context)) = error;
    return error;
}

/// A decoder that returns 8-bit RGBA.
class Decoder {
public:
    Decoder() {
        lodepng_state_init(&state);
        state.decoder.read_text_chunks = 0; // nobody reads them, and each may become 16 MiB
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { lodepng_state_cleanup(&state); }

    /// Decodes a file. @param rawBytes  the most bytes of its filtered rows. @return the error of lodepng.
    unsigned run(ConstByteSpan file, uint64 rawBytes) {
        unsigned inflateError = 0;
        state.decoder.ignore_crc = hasSoundPngChunks(file);
        state.decoder.zlibsettings.max_output_size = rawBytes;
        state.decoder.zlibsettings.custom_zlib = inflateFast;
        state.decoder.zlibsettings.custom_context = &inflateError;
        unsigned char* decoded = nullptr;
        const unsigned error = lodepng_decode(&decoded, &width, &height, &state, file.data, file.size);
        pixels.reset(decoded);
        if (error == kOutputTooLong) return kWrongOutputSize;
        return error == kReplacedInflateFailed ? inflateError : error;
    }

    LodePNGState state;
    Pixels pixels;
    unsigned width = 0, height = 0;
};

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
    Decoder decoder;
    if (const unsigned error = decoder.run(file, rawBytes)) return report(error);
    return take(decoder, image);
}

} // namespace qel::internal
