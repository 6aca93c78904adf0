// Parallel: a computation over parts, and the wait for it.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/platform/api.h>
#include <qel/system/core/parallel_kernel.h>
#include <qel/system/tasks/task_queue.h>

namespace qel {

/// Runs the parts of a Kernel on the workers and on the calling thread. System::execute does the same on one
/// shared object.
class QEL_API Parallel : public Object {
    QEL_CLASS(Parallel, Object)

public:
    /// The work: prepare(), execute() for each part, finish().
    using Kernel = ParallelKernel;

    Parallel();

    /// Asks @p kernel for the number of parts, runs them all and calls finish() on the calling thread. A
    /// single part runs on the calling thread. Without parts only finish() is called.
    /// @threads any thread; several may use one Parallel at once.
    void execute(Kernel& kernel);

private:
    TaskQueue m_queue;
};

} // namespace qel
