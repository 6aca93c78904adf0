// Alpha and intensity of whole images.
#include <qel/imaging/pixels/image.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/pixel_rows_p.h>
#include <qel/imaging/pixels/plain_pixels_p.h>
#include <qel/imaging/pixels/separate_source_p.h>

#include <cstring>

namespace qel {
namespace {

/// The mean of the identity and the sRGB inversion of coverage, for all values of 8 bits: with s = i / 255,
/// lin = 1 - decode(s) and enc = encode(lin), an entry is round((1 - enc + s) / 2 * 255).
constexpr uint8 kGammaCorrectedAlpha[256] = {
#include <qel/imaging/pixels/gamma_alpha_table.inc>
};

void copyBytes(uint8* out, const uint8* in, size_t n) {
    std::memcpy(out, in, n);
}

/// A conversion of pixels to one byte of intensity.
struct Intensity {
    FormatID from;
    size_t pixelBytes;
    internal::RowFunction* row;
};

const Intensity kIntensities[] = {
    {RGB8, 3, internal::rowMeanOf3},
    {BGR8, 3, internal::rowMeanOf3},
    {RGBA8, 4, internal::rowMeanOf4},
    {L8, 1, copyBytes},
};

const Intensity* findIntensity(const Image& source) {
    if (!source.hasPixels()) return nullptr;
    for (const Intensity& intensity : kIntensities)
        if (intensity.from == source.getImageFormat()) return &intensity;
    return nullptr;
}

/// The place of alpha in a pixel.
struct AlphaBytes {
    size_t first, step;
};

AlphaBytes alphaBytes(FormatID format) {
    switch (format) {
    case A8:
        return {0, 1};
    case LA8:
        return {1, 2};
    case RGBA8:
        return {3, 4};
    default:
        return {0, 0};
    }
}

/// Multiplies and adds with two roundings, then limits to a byte.
uint8 multiplyAdd(float value, const IVec2<float>& mulAdd) {
    const float product = value * mulAdd.x;
    return static_cast<uint8>(internal::roundClamped(product + mulAdd.y, 255));
}

} // namespace

bool Image::convertIntensityToAlphaFrom(const Image& source) {
    const Intensity* intensity = findIntensity(source);
    if (!intensity) {
        logging::info() << "UNKNOWN IMAGE FORMAT FOR CONVERSION: " << static_cast<int>(source.m_format);
        return false;
    }
    const internal::SeparateSource from(*this, source);
    initialize(A8, from->getSize());
    if (!isInitialized()) return false;
    internal::forPiecesOfRows(getWidth(), getHeight(), [&](int y, size_t x, size_t count) {
        intensity->row(getBytePointer(y) + x, from->getBytePointer(y) + x * intensity->pixelBytes, count);
    });
    return true;
}

bool Image::approxGammaCorrectAlpha() {
    const AlphaBytes alpha = alphaBytes(m_format);
    if (!hasPixels() || alpha.step == 0) return false;
    internal::forPiecesOfRows(getWidth(), getHeight(), [&](int y, size_t x, size_t count) {
        uint8* p = getBytePointer(y) + x * alpha.step + alpha.first;
        for (size_t i = 0; i < count; ++i, p += alpha.step) *p = kGammaCorrectedAlpha[*p];
    });
    return true;
}

void Image::multiplyAddReduceTo8BitFrom(const Image& source, const IVec2<float>& mulAdd) {
    const bool isWord = source.m_format == UInt16 || source.m_format == L16;
    if (!source.hasPixels() || (!isWord && source.m_format != RGB8)) {
        logging::error() << "image format not supported for multiply: " << static_cast<int>(source.m_format);
        return;
    }
    const internal::SeparateSource from(*this, source);
    initialize(isWord ? L8 : RGB8, from->getSize());
    if (!isInitialized()) return;
    internal::forPiecesOfRows(getWidth(), getHeight(), [&](int y, size_t x, size_t count) {
        const size_t channels = isWord ? 1 : 3;
        uint8* out = getBytePointer(y) + x * channels;
        const uint8* in = from->getBytePointer(y) + x * (isWord ? 2 : 3);
        for (size_t i = 0; i < count * channels; ++i) {
            const unsigned value = isWord ? internal::loadValue<uint16>(in + 2 * i) : in[i];
            out[i] = multiplyAdd(static_cast<float>(value), mulAdd);
        }
    });
}

} // namespace qel
