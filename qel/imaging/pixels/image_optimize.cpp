// Smaller formats that show an image as it is, or nearly so.
#include <qel/imaging/pixels/image.h>

#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/pixel_rows_p.h>
#include <qel/imaging/pixels/renderer_query.h>
#include <qel/imaging/pixels/separate_source_p.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>

namespace qel {
namespace {

constinit std::atomic<internal::SoftwareRendererQuery> g_softwareRendererQuery{nullptr};

/// What all pixels of an image have in common.
struct Traits {
    bool grey = true;
    bool opaque = true;
    bool white = true;

    bool any() const { return grey || opaque || white; }
};

/// Examines a row of pixels with up to @p tolerance of deviation.
Traits examineRow(const uint8* p, int pixels, size_t pixelBytes, int tolerance) {
    Traits traits;
    for (int i = 0; i < pixels; ++i, p += pixelBytes) {
        const int highest = std::max({p[0], p[1], p[2]}), lowest = std::min({p[0], p[1], p[2]});
        traits.grey &= highest - lowest <= tolerance;
        traits.white &= p[0] >= 255 - tolerance;
        if (pixelBytes == 4) traits.opaque &= p[3] >= 255 - tolerance;
    }
    return traits;
}

Traits examine(const Image& image, size_t pixelBytes, int tolerance) {
    Traits all;
    for (int y = 0; y < image.getHeight() && all.any(); ++y) {
        const Traits row = examineRow(image.getBytePointer(y), image.getWidth(), pixelBytes, tolerance);
        all = {all.grey && row.grey, all.opaque && row.opaque, all.white && row.white};
    }
    return all;
}

/// Bytes of a pixel of the formats that can be reduced; 0 for others.
size_t reducibleBytes(const Image& image) {
    if (!image.hasPixels()) return 0;
    switch (image.getImageFormat()) {
    case RGB8:
    case BGR8:
        return 3;
    case RGBA8:
    case BGRA8:
        return 4;
    default:
        return 0;
    }
}

/// A format to reduce to, and how.
struct Reduction {
    FormatID format = UnknownFormat;
    size_t pixelBytes = 0;
    internal::RowFunction* row = nullptr;
};

Reduction reduceGrey(const Traits& traits, size_t pixelBytes, bool isLossy) {
    if (pixelBytes == 3) return {L8, 1, isLossy ? internal::rowMeanOf3 : internal::rowFirstOf3};
    if (traits.opaque) return {L8, 1, isLossy ? internal::rowMeanOf4 : internal::rowFirstOf4};
    if (traits.white) return {A8, 1, internal::rowFourthOf4};
    return {LA8, 2, isLossy ? internal::rowMeanAndAlpha : internal::rowFirstAndLast};
}

bool reduce(Image& target, const Image& source, size_t pixelBytes, const Reduction& reduction) {
    const internal::SeparateSource from(target, source);
    target.initialize(reduction.format, from->getSize());
    if (!target) return false;
    internal::forPiecesOfRows(target.getWidth(), target.getHeight(), [&](int y, size_t x, size_t count) {
        reduction.row(target.getBytePointer(y) + x * reduction.pixelBytes,
                      from->getBytePointer(y) + x * pixelBytes, count);
    });
    return true;
}

} // namespace

void internal::setSoftwareRendererQuery(SoftwareRendererQuery query) {
    g_softwareRendererQuery = query;
}

bool internal::isSoftwareRendererUsed() {
    const SoftwareRendererQuery query = g_softwareRendererQuery;
    return query && query();
}

bool Image::optimizeLosslessForTextureFrom(const Image& source) {
    const size_t bytes = reducibleBytes(source);
    if (bytes == 0) return false;
    const Traits traits = examine(source, bytes, 0);
    if (traits.grey) return reduce(*this, source, bytes, reduceGrey(traits, bytes, false));
    if (!traits.opaque || bytes == 3) return false;
    const auto row = source.m_format == BGRA8 ? internal::rowSwapEnds4To3 : internal::rowFirstThree;
    return reduce(*this, source, bytes, {RGB8, 3, row});
}

bool Image::optimizeLossyForTextureFrom(const Image& source) {
    constexpr int kTolerance = 8;
    const size_t bytes = reducibleBytes(source);
    if (bytes == 0) return false;
    const Traits traits = examine(source, bytes, kTolerance);
    if (traits.grey) return reduce(*this, source, bytes, reduceGrey(traits, bytes, true));
    if (internal::isSoftwareRendererUsed()) return false;
    const internal::SeparateSource from(*this, source);
    initialize(bytes == 4 ? RGBA4 : RGB565, from->getSize());
    return isInitialized() && convertFrom(*from);
}

} // namespace qel
