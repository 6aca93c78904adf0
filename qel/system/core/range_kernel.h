// Work on a range of numbers, split into parts that idle workers share.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/system/core/parallel_kernel.h>

#include <algorithm>

namespace qel::internal {

/// Runs all parts of @p kernel by System::execute, in which the calling thread takes part; without a System
/// all on the calling thread.
void executeParts(ParallelKernel& kernel, unsigned processors = 1);

/// Runs a function for equal shares of a range.
template <typename Run>
class RangeKernel final : public ParallelKernel {
public:
    /// Calls `run(begin, end)` for each of @p parts shares of 0 to @p count.
    /// @param parts  0 means one for each processor, but no more than @p mostParts.
    RangeKernel(uint64 count, unsigned parts, unsigned mostParts, const Run& run)
        : m_count(count), m_parts(parts), m_mostParts(mostParts), m_run(run) {}

    void prepare(unsigned& parts) override {
        if (m_parts == 0) m_parts = std::min(parts, m_mostParts);
        parts = m_parts;
    }
    void execute(unsigned index) override {
        m_run(m_count * index / m_parts, m_count * (index + uint64{1}) / m_parts);
    }

private:
    const uint64 m_count;
    unsigned m_parts;
    const unsigned m_mostParts;
    const Run& m_run;
};

} // namespace qel::internal
