// Work shared by all processors.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/system/core/parallel_kernel.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <atomic>

namespace qel::internal {

/// Runs numbered pieces of work; each thread takes the next one that nobody has taken.
template <typename Run>
class PieceKernel final : public ParallelKernel {
public:
    PieceKernel(unsigned count, const Run& run) : m_count(count), m_run(run) {}
    void prepare(unsigned& parts) override { parts = std::min(parts, m_count); }
    void execute(unsigned) override {
        for (unsigned i = m_next++; i < m_count; i = m_next++) m_run(i);
    }

private:
    const unsigned m_count;
    const Run& m_run;
    std::atomic<unsigned> m_next{0};
};

/// Calls `run(i)` for 0 to @p count - 1, in any order and on any thread; without a System on this one.
template <typename Run>
void runPieces(unsigned count, const Run& run) {
    PieceKernel<Run> kernel(count, run);
    if (System* const system = Object::system())
        system->execute(kernel);
    else
        kernel.execute(0);
}

} // namespace qel::internal
