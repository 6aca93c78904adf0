#include <qel/system/core/range_kernel.h>

#include <qel/system/core/system.h>

namespace qel::internal {

void executeParts(ParallelKernel& kernel, unsigned processors) {
    if (System* system = Object::system()) return system->execute(kernel);
    unsigned parts = processors;
    kernel.prepare(parts);
    for (unsigned i = 0; i < parts; ++i) kernel.execute(i);
    kernel.finish();
}

} // namespace qel::internal
