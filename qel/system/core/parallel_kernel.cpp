#include <qel/system/core/parallel_kernel.h>

namespace qel {

ParallelKernel::~ParallelKernel() = default;

void ParallelKernel::finish() {}

} // namespace qel
