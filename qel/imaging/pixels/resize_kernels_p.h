// The two kernels that resize an image.
#pragma once

#include <qel/imaging/pixels/image.h>
#include <qel/system/core/parallel_kernel.h>

namespace qel::internal {

/// What the pixels of a plane consist of.
struct PixelType {
    FormatID component = UnknownFormat; ///< a format of one channel; UnknownFormat for packed pixels
    int channels = 0;                   ///< 1 to 4

    bool operator==(const PixelType&) const = default;
};

/// Returns the pixel type of a plane; no channels if it cannot be resized.
PixelType pixelTypeOf(FormatID format);

/// Writes all planes of a target in bands of rows.
class ResizeKernel : public ParallelKernel {
public:
    /// Resizes @p source into @p target; both outlive the kernel.
    ResizeKernel(Image& target, const Image& source) : m_target(target), m_source(source) {}

    void prepare(unsigned& parts) override;
    void execute(unsigned index) override;
    void finish() override {}
    /// Writes the rows of a plane that belong to a job.
    virtual void processPlane(unsigned plane, unsigned job) = 0;

protected:
    /// Returns the first row of a job; that of the next job is its end.
    int firstRow(unsigned plane, unsigned job) const;

    Image& m_target;
    const Image& m_source;

private:
    unsigned m_jobs = 1;
};

/// Interpolates between the two nearest pixels of each axis.
///
/// With fx = sw / tw in single precision, the source coordinate of target pixel x is x * fx + (fx * 0.5 -
/// 0.5), limited to 0 to sw - 1; the rows alike. Values are a + (b - a) * f, columns first, computed in
/// single precision for 8 and 16 bits and Flt32, otherwise in double; integers round halves away from zero.
class ResizeBilinear final : public ResizeKernel {
public:
    using ResizeKernel::ResizeKernel;
    void processPlane(unsigned plane, unsigned job) override;

private:
    /// Writes rows @p begin to @p end - 1 of a plane of bytes that is twice as large as the source.
    void writeTwice(unsigned plane, int begin, int end);
};

/// Computes the mean of the area that a target pixel covers. Pixels that it covers in part weigh as much as
/// the part. The weights are whole multiples of 1 / tw and 1 / th, and integers are summed exactly.
class ResizeAccumulate final : public ResizeKernel {
public:
    using ResizeKernel::ResizeKernel;
    void processPlane(unsigned plane, unsigned job) override;
};

} // namespace qel::internal
