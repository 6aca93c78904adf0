#include <qel/script/async_queue.h>

#include <utility>

namespace qelSq {

void AsyncQueue::push(VM& vm, Job job) {
    if (isAborting()) return;
    m_pendingJobs.push_back(std::move(job));
    pumpQueue(vm);
}

void AsyncQueue::pumpQueue(VM& vm) {
    if (m_pendingJobs.empty()) return;
    if (m_concurrencyLimit != 0 && m_runningCount >= static_cast<qel::uint32>(m_concurrencyLimit)) return;
    ++m_runningCount;
    Job job = std::move(m_pendingJobs.front());
    m_pendingJobs.pop_front();
    VM::Thread* thread = vm.createThread(job.closure);
    thread->queue = this;
    for (const qelSq::Object& argument : job.arguments) thread->pushArgument(argument);
}

void AsyncQueue::threadEnded(VM& vm) {
    --m_runningCount;
    pumpQueue(vm);
}

void AsyncQueue::beginAbort() {
    ++m_abortingCount;
    // The destruction of the jobs may push to this queue again, so the list is emptied first.
    qel::List<Job> dropped = std::exchange(m_pendingJobs, {});
}

} // namespace qelSq
