#include <qel/imaging/pixels/yuv_kernels_p.h>

#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/pixel_rows_p.h>

#include <algorithm>
#include <cstring>

namespace qel::internal {
namespace {

/// Copies luma of some pairs of rows, at once if nothing lies between them.
void copyLuma(const Target& target, const Source& source, uint64 firstPair, uint64 endPair, size_t width) {
    if (width == 0) return;
    const auto pitch = static_cast<int64>(width);
    const bool isPacked = source.pitch == pitch && target.pitch == pitch;
    const uint64 rows = 2 * (endPair - firstPair), step = isPacked ? std::max<uint64>(rows, 1) : 1;
    for (uint64 y = 2 * firstPair; y < 2 * endPair; y += step)
        std::memmove(target.row(y), source.row(y), width * step);
}

} // namespace

void YUVKernel::prepare(unsigned& parts) {
    const uint64 pixels = uint64{m_width} * m_height;
    const uint64 most = std::clamp<uint64>(pixels / kPixelsPerPart, 1, parts);
    m_jobs = static_cast<unsigned>(std::min<uint64>(most, m_height / 2));
    parts = m_jobs;
}

void YUVKernel::execute(unsigned index) {
    const uint64 pairs = m_height / 2;
    processRows(static_cast<uint32>(index * pairs / m_jobs),
                static_cast<uint32>((index + 1) * pairs / m_jobs));
}

void KernelToYuv::processRows(uint32 firstPair, uint32 endPair) {
    const size_t pairs = width() / 2;
    const bool hasLastColumn = width() % 2 != 0 && m_target.columns > pairs;
    for (uint32 pair = firstPair; pair < endPair; ++pair) {
        const uint64 y = uint64{pair} * 2;
        const uint8 *first = m_source.row(y), *second = m_source.row(y + 1);
        uint8 *u = m_target.u.row(pair), *v = m_target.v.row(pair);
        m_rows.luma(m_target.y.row(y), first, width());
        m_rows.luma(m_target.y.row(y + 1), second, width());
        m_rows.chroma(u, v, first, second, pairs);
        if (hasLastColumn) m_rows.lastColumn(u + pairs, v + pairs, first + 8 * pairs, second + 8 * pairs);
    }
}

kernel_convertImage_RGBA8_Y1U2V2::kernel_convertImage_RGBA8_Y1U2V2(uint32 width, uint32 height, Source source,
                                                                   const YuvPlanes<Target>& target)
    : KernelToYuv(width, height, source, target, {rowFullLuma, rowFullChroma, fullChromaOfColumn}) {}

kernel_convertImage_BGRA8_Y1U2V2::kernel_convertImage_BGRA8_Y1U2V2(uint32 width, uint32 height, Source source,
                                                                   const YuvPlanes<Target>& target)
    : KernelToYuv(width, height, source, target, {rowVideoLuma, rowVideoChroma, videoChromaOfColumn}) {}

template <size_t Bytes, YuvRowsFunction* Rows>
void KernelFromYuv<Bytes, Rows>::processRows(uint32 firstPair, uint32 endPair) {
    constexpr uint8 kNoChroma = 128;
    const size_t even = width() & ~1u;
    for (uint64 pair = firstPair; pair < endPair; ++pair) {
        const uint8* luma[] = {m_source.y.row(2 * pair), m_source.y.row(2 * pair + 1)};
        uint8* out[] = {m_target.row(2 * pair), m_target.row(2 * pair + 1)};
        const uint8 *u = m_source.u.row(pair), *v = m_source.v.row(pair);
        Rows(out, luma, u, v, even);
        if (even == width()) continue;
        for (size_t row = 0; row < 2; ++row) {
            luma[row] += even;
            out[row] += even * Bytes;
        }
        const bool hasChroma = m_source.columns > 0;
        const size_t last = hasChroma ? std::min<size_t>(even / 2, m_source.columns - 1) : 0;
        Rows(out, luma, hasChroma ? u + last : &kNoChroma, hasChroma ? v + last : &kNoChroma, 1);
    }
}

template class KernelFromYuv<3, rowsYuvToRgb>;
template class KernelFromYuv<4, rowsYuvToRgba>;
template class KernelFromYuv<4, rowsYuvToBgra>;

void kernel_convertImage_Y1U2V2_Y1UV2::processRows(uint32 firstPair, uint32 endPair) {
    copyLuma(m_target.y, m_source.y, firstPair, endPair, width());
    for (uint32 pair = firstPair; pair < endPair; ++pair)
        rowInterleave(m_target.u.row(pair), m_source.u.row(pair), m_source.v.row(pair), width() / 2);
}

void kernel_convertImage_Y1UV2_Y1U2V2::processRows(uint32 firstPair, uint32 endPair) {
    copyLuma(m_target.y, m_source.y, firstPair, endPair, width());
    for (uint32 pair = firstPair; pair < endPair; ++pair)
        rowSplit(m_target.u.row(pair), m_target.v.row(pair), m_source.u.row(pair), width() / 2);
}

} // namespace qel::internal
