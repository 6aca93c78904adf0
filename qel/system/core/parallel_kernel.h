// What a computation over parts looks like to the code that runs it.
#pragma once

#include <qel/platform/api.h>

namespace qel {

/// Work that is done in parts, perhaps on several threads at once; `Parallel::Kernel` is another name for it.
class QEL_API ParallelKernel {
public:
    virtual ~ParallelKernel();

    /// Decides the number of parts. @param parts  in: the processor count; out: any number, 0 runs nothing.
    virtual void prepare(unsigned& parts) = 0;
    /// Does part @p index, from 0 to parts - 1. @threads any thread, several at once.
    virtual void execute(unsigned index) = 0;
    /// Called last, on the thread that asked for the work; does nothing unless overridden.
    virtual void finish();
};

} // namespace qel
