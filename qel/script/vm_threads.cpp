#include <qel/script/vm.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/platform/c_locale.h>
#include <qel/script/async_queue.h>

#include <bit>
#include <iterator>
#include <utility>

namespace qelSq {

namespace {

constexpr SQInteger kThreadStackSize = 1024;

} // namespace

void VM::Thread::pushArgument(const Object& value) {
    auto count = static_cast<qel::uint32>(argumentCount);
    if (std::has_single_bit(count)) sq_reservestack(vm, 2 * argumentCount); // rounded up to a power of two
    value.push(vm);
    ++argumentCount;
}

VM::Thread* VM::createThread(const Object& closure) {
    Thread& thread = m_threads.emplace_back();
    thread.vm = sq_newthread(m_vm, kThreadStackSize);
    thread.object.popFromStackAddRef(m_vm);
    seterrorhandlers(thread.vm);
    closure.push(thread.vm);
    sq_pushroottable(thread.vm);
    return &thread;
}

void VM::processEvents() {
    if (m_currentThread) return;
    m_ranThreads = false;
    if (!hasWork()) return;
    const qel::platform::CLocaleScope locale; // as in every MachineEntry
    for (auto thread = m_threads.begin(); thread != m_threads.end();) {
        thread = runThread(*thread) ? std::next(thread) : endThread(thread);
    }
    std::erase_if(m_backgroundWork, [](const auto& work) { return work(); });
}

// Resumes or starts a thread that is ready. @return true if it continues in a later pass.
bool VM::runThread(Thread& thread) {
    m_currentThread = &thread;
    if (!thread.wakeCondition) {
        m_ranThreads = true;
        if (SQ_FAILED(sq_call(thread.vm, thread.argumentCount, SQFalse, SQTrue))) {
            reportFailedThread("call");
        }
    } else if (thread.wakeCondition(thread.vm)) {
        thread.wakeCondition = nullptr;
        m_ranThreads = true;
        if (SQ_FAILED(sq_wakeupvm(thread.vm, SQTrue, SQFalse, SQTrue, SQFalse))) {
            reportFailedThread("wake");
        }
    }
    m_currentThread = nullptr;
    return static_cast<bool>(thread.wakeCondition);
}

void VM::reportFailedThread(const char* step) {
    noteFailedScript();
    qel::logging::error() << "[SUPPORT] squirrel thread failed (" << step << ")";
}

VM::ThreadList::iterator VM::endThread(ThreadList::iterator thread) {
    if (thread->queue) thread->queue->threadEnded(*this); // may append the queue's next thread
    return m_threads.erase(thread);
}

SQInteger VM::suspend(SQVM* vm, WakeCondition condition) {
    if (!isRunning(vm)) return 0;
    SQInteger result = sq_suspendvm(vm);
    if (result != SQ_ERROR) m_currentThread->wakeCondition = std::move(condition);
    return result;
}

bool VM::isCurrentThreadsAsyncQueueAborting() const {
    return m_currentThread && m_currentThread->queue && m_currentThread->queue->isAborting();
}

} // namespace qelSq
