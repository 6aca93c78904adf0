// The parallel kernels of YUV 4:2:0, which work on pairs of rows.
#pragma once

#include <qel/imaging/pixels/plane_view_p.h>
#include <qel/imaging/pixels/yuv_rows_p.h>
#include <qel/system/core/parallel_kernel.h>

#include <array>

namespace qel::internal {

/// Three planes of 4:2:0, in the order Y, U, V, or two of which the second holds both chromas.
template <typename View>
struct YuvPlanes {
    View y;             ///< luma
    View u;             ///< first chroma, or the interleaved one
    View v;             ///< second chroma
    uint32 columns = 0; ///< chroma samples of a row that exist
};

/// Splits the pairs of rows of an image among parts. The last row of an odd height is left out.
class YUVKernel : public ParallelKernel {
public:
    /// Covers an image of @p width by @p height pixels.
    YUVKernel(uint32 width, uint32 height) : m_width(width), m_height(height) {}

    void prepare(unsigned& parts) override;
    void execute(unsigned index) override;
    void finish() override {}
    /// Converts the rows of pairs @p firstPair to @p endPair - 1. @threads any thread, several at once.
    virtual void processRows(uint32 firstPair, uint32 endPair) = 0;

protected:
    /// Returns the width in pixels.
    uint32 width() const { return m_width; }

private:
    const uint32 m_width;
    const uint32 m_height;
    unsigned m_jobs = 0;
};

/// Converts 4-byte pixels to three planes.
class KernelToYuv : public YUVKernel {
public:
    /// The functions of a matrix.
    struct Rows {
        void (*luma)(uint8* out, const uint8* in, size_t n);
        void (*chroma)(uint8* u, uint8* v, const uint8* first, const uint8* second, size_t pairs);
        void (*lastColumn)(uint8* u, uint8* v, const uint8* first, const uint8* second);
    };

    KernelToYuv(uint32 width, uint32 height, Source source, const YuvPlanes<Target>& target, const Rows& rows)
        : YUVKernel(width, height), m_source(source), m_target(target), m_rows(rows) {}
    void processRows(uint32 firstPair, uint32 endPair) override;

private:
    const Source m_source;
    const YuvPlanes<Target> m_target;
    const Rows m_rows;
};

/// RGBA8 to Y1U2V2, full range.
class kernel_convertImage_RGBA8_Y1U2V2 final : public KernelToYuv {
public:
    kernel_convertImage_RGBA8_Y1U2V2(uint32 width, uint32 height, Source source,
                                     const YuvPlanes<Target>& target);
};

/// BGRA8 to Y1U2V2, video range.
class kernel_convertImage_BGRA8_Y1U2V2 final : public KernelToYuv {
public:
    kernel_convertImage_BGRA8_Y1U2V2(uint32 width, uint32 height, Source source,
                                     const YuvPlanes<Target>& target);
};

/// Converts three planes to pixels of `Bytes` bytes.
template <size_t Bytes, YuvRowsFunction* Rows>
class KernelFromYuv final : public YUVKernel {
public:
    KernelFromYuv(uint32 width, uint32 height, const YuvPlanes<Source>& source, Target target)
        : YUVKernel(width, height), m_source(source), m_target(target) {}
    void processRows(uint32 firstPair, uint32 endPair) override;

private:
    const YuvPlanes<Source> m_source;
    const Target m_target;
};

using kernel_convertImage_Y1U2V2_RGB8 = KernelFromYuv<3, rowsYuvToRgb>;   ///< full range
using kernel_convertImage_Y1U2V2_RGBA8 = KernelFromYuv<4, rowsYuvToRgba>; ///< full range, alpha 255
using kernel_convertImage_Y1U2V2_BGRA8 = KernelFromYuv<4, rowsYuvToBgra>; ///< video range, alpha 255

/// Converts planes to planes of another number.
class KernelOfPlanes : public YUVKernel {
public:
    KernelOfPlanes(uint32 width, uint32 height, const YuvPlanes<Source>& source,
                   const YuvPlanes<Target>& target)
        : YUVKernel(width, height), m_source(source), m_target(target) {}

protected:
    const YuvPlanes<Source> m_source;
    const YuvPlanes<Target> m_target;
};

/// Copies luma and interleaves chroma.
class kernel_convertImage_Y1U2V2_Y1UV2 final : public KernelOfPlanes {
public:
    using KernelOfPlanes::KernelOfPlanes;
    void processRows(uint32 firstPair, uint32 endPair) override;
};

/// Copies luma and splits chroma.
class kernel_convertImage_Y1UV2_Y1U2V2 final : public KernelOfPlanes {
public:
    using KernelOfPlanes::KernelOfPlanes;
    void processRows(uint32 firstPair, uint32 endPair) override;
};

} // namespace qel::internal
