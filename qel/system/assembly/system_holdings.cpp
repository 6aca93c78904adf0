#include <qel/system/core/system.h>

#include <qel/system/tasks/parallel.h>
#include <qel/system/tasks/perfmon.h>

namespace qel {

PerfMon* System::getPerfMon() {
    if (!m_perfMon) m_perfMon = new PerfMon;
    return m_perfMon.get();
}

void System::execute(ParallelKernel& kernel) {
    m_parallel->execute(kernel);
}

} // namespace qel
