// Work on a range of numbers on all processors.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/system/core/parallel_kernel.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qelviewer {

/// Calls a function for each number below a count.
template <typename Run>
class IndexKernel final : public qel::ParallelKernel {
public:
    /// Calls `run(i)` for each i below @p count, on several threads at once.
    IndexKernel(unsigned count, const Run& run) : m_count(count), m_run(run) {}

    void prepare(unsigned& parts) override { parts = m_count; }
    void execute(unsigned index) override { m_run(index); }

private:
    const unsigned m_count;
    const Run& m_run;
};

/// Calls `run(i)` for each i below @p count on idle workers and the calling thread; without a System all on
/// the calling thread.
template <typename Run>
void forEachIndex(unsigned count, const Run& run) {
    IndexKernel<Run> kernel(count, run);
    if (qel::System* const system = qel::Object::system()) return system->execute(kernel);
    for (unsigned i = 0; i < count; ++i) run(i);
}

/// Calls `run(begin, end)` for pieces of 0 to @p count, as forEachIndex() does.
/// @param piece  numbers in a piece; count / piece fits 31 bits.
template <typename Run>
void forEachPiece(qel::uint64 count, qel::uint64 piece, const Run& run) {
    forEachIndex(static_cast<unsigned>((count + piece - 1) / piece), [&](unsigned index) {
        const qel::uint64 begin = index * piece;
        run(begin, std::min(begin + piece, count));
    });
}

} // namespace qelviewer
