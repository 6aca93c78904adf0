// The script class AsyncQueue, and the functions of the table `std` that create and find queues.
#include <qel/script/async_queue.h>

#include <qel/script/class_binder.h>
#include <qel/script/script_library_p.h>

namespace qelSq {

namespace {

SQInteger push(SQVM* vm) {
    AsyncQueue* queue = NativeClass<AsyncQueue>::at(vm, 1);
    if (!queue) return internal::raiseNoReceiver(vm);
    if (queue->isAborting()) return 0;
    SQInteger top = sq_gettop(vm);
    if (top < 2) return sq_throwerror(vm, "invalid argument count on queue.push call");
    AsyncQueue::Job job{Object(vm, 2), {}};
    for (SQInteger i = 3; i <= top; ++i) job.arguments.emplace_back(vm, i);
    queue->push(*VM::from(vm), std::move(job));
    return 0;
}

SQInteger abort(SQVM* vm) {
    qel::SmartPointer<AsyncQueue> queue = NativeClass<AsyncQueue>::at(vm, 1);
    if (!queue) return internal::raiseNoReceiver(vm);
    queue->beginAbort();
    SQInteger result = VM::from(vm)->suspend(vm, [queue](SQVM* thread) {
        if (queue->getRunningCount() != 0) return false;
        queue->endAbort();
        sq_pushnull(thread);
        return true;
    });
    if (result == SQ_ERROR) queue->endAbort();
    return result;
}

SQInteger wait(SQVM* vm) {
    qel::SmartPointer<AsyncQueue> queue = NativeClass<AsyncQueue>::at(vm, 1);
    if (!queue) return 0;
    return VM::from(vm)->suspend(vm, [queue](SQVM* thread) {
        if (queue->isIdle()) sq_pushnull(thread);
        return queue->isIdle();
    });
}

template <qel::int32 limit>
SQInteger makeQueue(SQVM* vm) {
    NativeClass<AsyncQueue>::push(vm, new AsyncQueue(limit));
    return 1;
}

SQInteger getCurrentQueue(SQVM* vm) {
    VM::Thread* thread = VM::from(vm)->getCurrentThread();
    NativeClass<AsyncQueue>::push(vm, thread ? thread->queue.get() : nullptr);
    return 1;
}

SQInteger isCurrentQueueAborting(SQVM* vm) {
    sq_pushbool(vm, VM::from(vm)->isCurrentThreadsAsyncQueueAborting() ? SQTrue : SQFalse);
    return 1;
}

} // namespace

void AsyncQueue::bindSqVM(qelSq::Object* cls) {
    qel::Object::bindSqVM(cls);
    ClassBinder<AsyncQueue>(cls)
        .staticFunction<&AsyncQueue::getStaticClassName>("getClassName")
        .native("push", &qelSq::push, false)
        .native("abort", &qelSq::abort, false)
        .native("wait", &qelSq::wait, false)
        .method<&AsyncQueue::setConcurrencyLimit>("set_concurrency")
        .method<&AsyncQueue::getConcurrencyLimit>("get_concurrency")
        .method<&AsyncQueue::isAborting>("is_aborting");
}

namespace internal {

void addQueueFunctions(Object& table) {
    table.asTable().squirrelFunction("queue", &makeQueue<0>).squirrelFunction("serial_queue", &makeQueue<1>);
}

void addCurrentQueueFunctions(Object& table) {
    table.asTable()
        .squirrelFunction("get_current_queue", &getCurrentQueue)
        .squirrelFunction("current_queue_is_aborting", &isCurrentQueueAborting);
}

} // namespace internal
} // namespace qelSq
