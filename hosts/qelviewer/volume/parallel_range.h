// Work on a range of numbers on all processors.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/system/core/parallel_kernel.h>
#include <qel/system/core/system.h>

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

/// Calls `run(i)` for each i below @p count on idle workers and the calling thread. Needs a System.
template <typename Run>
void forEachIndex(unsigned count, const Run& run) {
    IndexKernel<Run> kernel(count, run);
    qel::Object::system()->execute(kernel);
}

} // namespace qelviewer
