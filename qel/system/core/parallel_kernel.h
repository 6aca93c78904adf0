// ParallelKernel: the interface of a computation that is split into parts.
#pragma once

#include <qel/platform/api.h>

namespace qel {

/// Work that is split into parts, which may run on several threads at once. `Parallel::Kernel` is another
/// name for it.
class QEL_API ParallelKernel {
public:
    virtual ~ParallelKernel();

    /// Decides the number of parts.
    /// @param parts  in: the processor count; out: the number of parts, where 0 runs nothing.
    virtual void prepare(unsigned& parts) = 0;
    /// Executes part @p index, from 0 to parts - 1. @threads any thread, several at once.
    virtual void execute(unsigned index) = 0;
    /// Is called last, on the thread that requested the work; does nothing unless overridden.
    virtual void finish();
};

} // namespace qel
